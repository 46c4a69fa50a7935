#include "appliance/dns_fields.h"

#include <array>
#include <vector>

#include "appliance/commands.h"
#include "base/files.h"
#include "base/format.h"
#include "base/paths.h"
#include "base/words.h"
#include "framework/profile.h"

namespace {

constexpr int kServers = 3;
constexpr int kOctets = 4;
constexpr std::size_t kDnsLine = 79;

// The lines of the list begin so.
constexpr std::string_view kAnyDnsKey = "dns_server";
constexpr std::string_view DNSKey = "dns_server1=";
constexpr std::string_view DNSKey2 = "dns_server2=";
constexpr std::string_view DNSKey3 = "dns_server3=";

// A form posts an octet at a time: what has come of each server so far.
std::array<DnsText, kServers> built;
std::array<bool, kServers> completed{};

std::string_view leading_digits(std::string_view text) {
    return text.substr(0, text.find_first_not_of("0123456789"));
}

// What stands behind the nth dot; empty when there are less.
std::string_view behind_dot(int n, std::string_view text) {
    for (; n > 0; --n) {
        const std::size_t dot = text.find('.');
        text = dot == std::string_view::npos ? "" : text.substr(dot + 1);
    }
    return text;
}

std::string_view dns_key(int n) { return n == 2 ? DNSKey2 : n == 3 ? DNSKey3 : DNSKey; }

std::string_view dns_key_name(int n) {
    const std::string_view key = dns_key(n);
    return key.substr(0, key.find('='));
}

// Calls `use` with the value of each DNS server line until it returns false. The lines count in the
// order of the file, whatever their numbers.
template <class Use>
void for_each_dns(Use use) {
    LineReader in(QSCfgF, kDnsLine);
    while (in.is_open() && in.next()) {
        const std::string_view line = in.piece();
        if (!line.starts_with(kAnyDnsKey)) continue;
        for (const std::string_view key : {DNSKey, DNSKey2, DNSKey3})
            if (line.starts_with(key) &&
                !use(without_line_end(line.substr(key.size())).substr(0, DnsText::capacity)))
                return;
    }
}

}  // namespace

void GetDNS(DnsText& out) {
    out.clear();
    for_each_dns([&](std::string_view server) {
        out = server;
        return false;
    });
}

void GetWanDNS(std::span<char> out) {
    std::string shown;
    int seen = 0;
    for_each_dns([&](std::string_view server) {
        if (seen == 1) shown += "<BR>";
        shown += server;
        return ++seen < 2;
    });
    copy_text(out, shown);
}

void GetDNS_N(int n, DnsText& out) { out = setting<DnsText::size>(QSCfgF, dns_key_name(n), ""); }

int show_dns_octet(int server, int octet, ValueText& value) {
    DnsText address;
    GetDNS_N(server, address);
    return show(value, leading_digits(behind_dot(octet - 1, address)));
}

int store_dns_octet(int server, int octet, std::string_view value) {
    DnsText& address = built[static_cast<std::size_t>(server - 1)];
    if (octet == 1) {
        address = leading_digits(value);  // none empties the server, whatever follows
    } else if (!address.empty()) {
        address.append(".");
        address.append(leading_digits(value));
    }
    if (octet == kOctets) completed[static_cast<std::size_t>(server - 1)] = true;
    return 0;
}

int store_dns_servers() {
    std::vector<Setting> servers;
    for (int n = 1; n <= kServers; ++n)
        if (const auto i = static_cast<std::size_t>(n - 1); completed[i])
            servers.push_back({dns_key_name(n), std::string(built[i])});
    if (servers.empty()) return 0;
    const bool has_last = completed.back();
    built = {};
    completed = {};
    if (set_settings("network", servers, QSCfgF) != Written::done) return 1;
    // Forms post the servers in order, so the list is complete when the third one is.
    if (has_last) run_command(Command::set_dns);
    return 0;
}

int get_dns_name(ValueText& value, LongText&, int&) {
    DnsText server;
    GetDNS(server);
    return show(value, server);
}

int get_wan_dns(ValueText& value, LongText&, int&) {
    GetWanDNS(value.buffer());
    return 0;
}

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

Written SaveDNS_N(int n, std::string_view value) {
    const Setting server = {dns_key_name(n), std::string(value)};
    return set_settings("network", {&server, 1}, QSCfgF);
}
