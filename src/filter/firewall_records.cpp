#include "filter/firewall_records.h"

#include <algorithm>
#include <iterator>

#include "base/words.h"
#include "filter/script_lines.h"

namespace {

constexpr std::string_view kHeader = "#@";

constexpr std::string_view no_del[] = {"Ping",    "Real Audio",  "Real Player 8",
                                       "ICQ",     "Diablo",      "NetMeeting",
                                       "CuSeeme", "VPN (IPSEC)", "VPN (PPTP)"};

// Answers of the outside come in; a TCP connection may only be opened from inside ("! -y").
constexpr std::string_view kInputUdp =
    "ipchains -A input -j ACCEPT -i $extif -p udp -d $extip -s $univ ";
constexpr std::string_view kInputTcp =
    "ipchains -A input -j ACCEPT -i $extif -p tcp ! -y -d $extip -s $univ ";
constexpr std::string_view kOutputUdp = "ipchains -A output -j ACCEPT -i $extif -p udp -d $univ ";
constexpr std::string_view kOutputTcp = "ipchains -A output -j ACCEPT -i $extif -p tcp -d $univ ";

bool contains(std::string_view line, std::string_view part) {
    return line.find(part) != std::string_view::npos;
}

bool is_module(std::string_view line) { return contains(line, "modprobe "); }
bool is_ping(std::string_view line) { return contains(line, " -p icmp "); }

bool is_header(std::string_view line) { return line.starts_with(kHeader); }

std::string_view name_of(std::string_view header) {
    return header.substr(kHeader.size(), header.find('\n') - kHeader.size());
}

bool is_header_of(std::string_view line, std::string_view name) {
    return is_header(line) && name_of(line) == name;
}

bool ends_record(std::string_view line) { return line.starts_with('\n'); }

void skip_record(std::string_view& rest) {
    while (!rest.empty() && !ends_record(take_script_line(rest))) {
    }
}

// The ports are the digits on either side of the first colon.
void read_ports(std::string_view line, SapRules& rules) {
    const std::size_t colon = line.find(':');
    if (colon == line.npos || !rules.port1.empty()) return;
    const std::string_view before = line.substr(0, colon);
    const std::string_view after = line.substr(colon + 1);
    const auto first = std::find_if_not(before.rbegin(), before.rend(), is_digit).base();
    if (first == before.end()) return;
    rules.port1.assign(first, before.end());
    rules.port2.assign(after.begin(), std::find_if_not(after.begin(), after.end(), is_digit));
}

// Reads a line of a record; false when the lines behind it tell nothing more.
bool read_rule(std::string_view line, SapItem& item) {
    item.enabled = is_on(line);
    const int protocol = contains(line, " udp")   ? kUdp
                         : contains(line, " tcp") ? kTcp
                                                  : kNoProtocol;
    if (protocol == kNoProtocol) {
        if (is_module(line) || is_ping(line)) item.in.protocol = item.out.protocol = kOtherProtocol;
        return false;
    }
    if (!contains(line, " input") && !contains(line, " output")) return true;
    SapRules& rules = contains(line, " input") ? item.in : item.out;
    // UDP and TCP add up to both; so do two rules of UDP, which the page then shows as TCP.
    rules.protocol = std::min<int>(rules.protocol + protocol, kOtherProtocol);
    read_ports(line, rules);
    return true;
}

// One port alone is the range from that port to itself.
std::string port_range(const SapRules& rules) {
    if (rules.port1.empty() && rules.port2.empty()) return "";
    return (rules.port1.empty() ? rules.port2 : rules.port1) + ":" +
           (rules.port2.empty() ? rules.port1 : rules.port2);
}

std::string rule_lines(char mark, const SapRules& rules, std::string_view udp,
                       std::string_view tcp) {
    const std::string end = port_range(rules) + "\n";
    std::string lines;
    if (rules.protocol & kUdp) lines.append(1, mark).append(udp) += end;
    if (rules.protocol & kTcp) lines.append(1, mark).append(tcp) += end;
    return lines;
}

std::string header_of(const SapItem& item) { return std::string(kHeader) + item.name + "\n"; }

std::string add_r(const SapItem& item) {
    const char mark = mark_of(item.enabled);
    return header_of(item) + rule_lines(mark, item.in, kInputUdp, kInputTcp) +
           rule_lines(mark, item.out, kOutputUdp, kOutputTcp) + "\n";
}

// The record, rewritten; takes what it replaces of the lines behind the header off `rest`.
std::string updated_record(std::string_view& rest, const SapItem& item, std::string& module_line) {
    std::string_view behind = rest;
    std::string_view line = take_script_line(behind);
    if (is_module(line)) {
        rest = behind;
        module_line = marked(mark_of(item.enabled), line);
        return header_of(item) + module_line;
    }
    if (!is_ping(line)) {
        skip_record(rest);
        return add_r(item);
    }
    std::string record = header_of(item);
    while (!rest.empty() && !ends_record(rest))
        record += marked(mark_of(item.enabled), take_script_line(rest));
    return record;
}

}  // namespace

std::vector<SapItem> parse_firewall(std::string_view script) {
    std::vector<SapItem> items;
    bool reading = false;
    while (!script.empty()) {
        const std::string_view line = take_script_line(script);
        if (is_header(line)) {
            items.push_back({.name = std::string(name_of(line)), .in = {}, .out = {}});
            reading = true;
        } else {
            reading = reading && line.size() > 1 && read_rule(line, items.back());
        }
    }
    return items;
}

bool is_reserved(std::string_view name) {
    return std::find(std::begin(no_del), std::end(no_del), name) != std::end(no_del);
}

std::string with_record(std::string_view script, const SapItem& item) {
    std::string text(script);
    if (!text.empty() && text.back() != '\n') text += '\n';
    return text + add_r(item);
}

std::string without_record(std::string_view script, std::string_view name) {
    std::string text;
    while (!script.empty()) {
        const std::string_view line = take_script_line(script);
        if (is_header_of(line, name))
            skip_record(script);
        else
            text += line;
    }
    return text;
}

std::string with_record_updated(std::string_view script, const SapItem& item,
                                std::string& module_line) {
    std::string text;
    while (!script.empty()) {
        const std::string_view line = take_script_line(script);
        if (is_header_of(line, item.name))
            text += updated_record(script, item, module_line);
        else
            text += line;
    }
    return text;
}

std::string with_records_off(std::string_view script) {
    std::string text;
    bool in_record = false;
    while (!script.empty()) {
        const std::string_view line = take_script_line(script);
        in_record = is_header(line) || (in_record && line.size() > 1);
        const bool acts = contains(line, "modprobe") || contains(line, "ipchains");
        text += in_record && acts ? marked(kLineOff, line) : std::string(line);
    }
    return text;
}
