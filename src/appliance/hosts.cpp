#include "appliance/hosts.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

#include "appliance/links.h"
#include "base/files.h"
#include "base/paths.h"
#include "base/text.h"
#include "base/words.h"

namespace {

// ---- the list ----

// The host with that address, or where it would stand.
Hosts::iterator place_of(Hosts& hosts, std::uint32_t number) {
    return std::ranges::lower_bound(hosts, number, {}, &Host::number);
}

bool is_at(const Hosts& hosts, Hosts::const_iterator place, std::uint32_t number) {
    return place != hosts.end() && place->number == number;
}

void put_host(Hosts& hosts, const Host& host) {
    const auto place = place_of(hosts, host.number);
    if (is_at(hosts, place, host.number))
        *place = host;
    else if (hosts.size() < kMostHosts)
        hosts.insert(place, host);
}

void drop_host(Hosts& hosts, std::uint32_t number) {
    const auto place = place_of(hosts, number);
    if (is_at(hosts, place, number)) hosts.erase(place);
}

// ---- words ----

bool is_mac(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
    if (text.size() != std::string_view("00:11:22:aa:bb:cc").size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (i % 3 == 2 ? text[i] != ':' : kDigits.find(text[i]) == kDigits.npos) return false;
    return true;
}

char take_character(std::string_view& text) {
    const char c = text.front();
    text.remove_prefix(1);
    return c;
}

// Takes an octet off a string of the leases file: for one that cannot be printed dhcpd writes "\"
// and three octal digits, before a quote and another "\" it writes "\".
char take_octet(std::string_view& text) {
    constexpr std::size_t kMostDigits = 3;
    const char c = take_character(text);
    if (c != '\\' || text.empty()) return c;
    std::string_view digits = text.substr(0, kMostDigits);
    digits = digits.substr(0, digits.find_first_not_of("01234567"));
    if (digits.empty()) return take_character(text);
    text.remove_prefix(digits.size());
    unsigned octet = 0;
    for (const char digit : digits) octet = octet * 8 + static_cast<unsigned>(digit - '0');
    return static_cast<char>(octet);
}

// The string in a statement, as it was before dhcpd wrote it.
std::string string_in(std::string_view text) {
    text = TrancateSpace(text.substr(text.find('"') + 1));
    if (text.ends_with('"')) text.remove_suffix(1);
    std::string plain;
    while (!text.empty()) plain += take_octet(text);
    return plain;
}

// The seconds since 1970 of a date "2038/01/19" and a time "03:14:07", both UTC; 0 for no date.
std::int64_t seconds_at(std::string_view date, std::string_view time) {
    const int year = to_int(take_word(date, "/"));
    const int month = to_int(take_word(date, "/"));
    const int day = to_int(take_word(date, "/"));
    if (year < 1970 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) return 0;
    const std::chrono::sys_days midnight = std::chrono::year(year) / month / day;
    std::int64_t result = midnight.time_since_epoch().count();
    for (const int units : {24, 60, 60}) result = result * units + to_int(take_word(time, ":"));
    return result;
}

// The time that the words behind "ends" name: a weekday, date and time, or "epoch" and the seconds.
std::int64_t end_of(std::string_view kind, std::string_view date, std::string_view time) {
    if (kind == "epoch") return std::strtoll(std::string(date).c_str(), nullptr, 10);
    return seconds_at(date, time);
}

// Hands the pieces of a file to `use`; of a missing one none.
template <class Use>
void for_each_piece(const char* path, Use use) {
    constexpr std::size_t kPiece = 4096;
    LineReader in(path, kPiece);
    while (in.is_open() && in.next()) use(in.piece());
}

}  // namespace

std::optional<std::uint32_t> number_of(std::string_view address) {
    std::uint32_t number = 0;
    for (const bool is_last : {false, false, false, true}) {
        const std::string_view octet =
            address.substr(0, is_last ? address.npos : address.find('.'));
        const bool is_number = octet.size() <= 3 && std::ranges::all_of(octet, is_digit);
        if (octet.empty() || !is_number || to_int(octet) > 255) return std::nullopt;
        number = number * 256 + static_cast<std::uint32_t>(to_int(octet));
        address.remove_prefix(std::min(octet.size() + 1, address.size()));
    }
    return number;
}

// ---- leases ----

void LeaseReader::read(std::string_view part) {
    for (const char c : part) take(c);
}

void LeaseReader::take(char c) {
    if (in_string_) {
        in_string_ = c != '"' || escaped_;
        escaped_ = c == '\\' && !escaped_;
    } else if (in_comment_ || c == '#') {
        in_comment_ = c != '\n';
        return;
    } else if (c == ';' || c == '{' || c == '}') {
        end_statement(c);
        return statement_.clear();
    } else {
        in_string_ = c == '"';
    }
    if (statement_.size() < kStatement) statement_ += c;
}

void LeaseReader::end_statement(char c) {
    if (c == '{' && depth_++ == 0) begin_lease();
    if (c == ';' && depth_ == 1) apply_statement();
    if (c == '}' && depth_ > 0 && --depth_ == 0) end_lease();
}

// In a block of another kind the lease stays without an address.
void LeaseReader::begin_lease() {
    lease_ = {};
    is_live_ = true;
    std::string_view rest = statement_;
    if (take_word(rest) != "lease") return;
    const std::string_view address = take_word(rest);
    const auto number = number_of(address);
    if (number) lease_ = {*number, address, {}, {}};
}

void LeaseReader::apply_statement() {
    std::string_view rest = statement_;
    const std::string_view what = take_word(rest);
    if (what == "client-hostname") lease_.name = string_in(rest);
    const std::string_view first = take_word(rest);
    const std::string_view second = take_word(rest);
    if (what == "hardware" && first == "ethernet" && is_mac(second)) lease_.mac = second;
    if (what == "binding" && first == "state" && second != "active") is_live_ = false;
    if (what == "ends" && first != "never" && end_of(first, second, take_word(rest)) <= now_)
        is_live_ = false;
}

void LeaseReader::end_lease() {
    if (lease_.address.empty()) return;
    if (is_live_)
        put_host(*hosts_, lease_);
    else
        drop_host(*hosts_, lease_.number);
}

// ---- ARP ----

void add_arp_line(std::string_view line, std::string_view interface, Hosts& hosts) {
    constexpr unsigned long kComplete = 2;  // ATF_COM
    std::array<std::string_view, 6> words;
    for (std::string_view& word : words) word = take_word(line);
    const auto& [address, type, flags, mac, mask, device] = words;
    const auto number = number_of(address);
    const bool is_complete =
        (std::strtoul(std::string(flags).c_str(), nullptr, 16) & kComplete) != 0;
    if (!number || !is_complete || !is_mac(mac) || device != interface) return;
    const auto place = place_of(hosts, *number);
    const bool is_known = is_at(hosts, place, *number) && place->mac == mac;
    if (!is_known) put_host(hosts, {*number, address, {}, mac});
}

Hosts known_hosts() {
    Hosts hosts;
    LeaseReader leases(hosts, std::time(nullptr));
    for_each_piece(LeasesF, [&](std::string_view piece) { leases.read(piece); });
    const InterfaceText interface = lan_interface();
    for_each_piece(ArpF, [&](std::string_view line) { add_arp_line(line, interface, hosts); });
    return hosts;
}
