#include "filter/ac_lists.h"

#include <algorithm>

#include "base/format.h"
#include "base/quote.h"
#include "base/words.h"

namespace {

constexpr std::size_t kModeAndComma = 2;
constexpr int kPorts = 65536;
constexpr long kLastHost = 255;

std::string_view behind_mode(std::string_view ports) {
    return ports.substr(std::min(kModeAndComma, ports.size()));
}

// What is left of a list must keep the comma that its next port is put behind.
std::string with_comma(std::string ports) {
    if (ports.size() == 1) ports += ',';
    return ports;
}

// ---- sorting ----

struct Range {
    long start = 0;
    long end = 0;  // 0: a single number
};

// Whatever stands between the digits is passed over; of an address only the last octet counts.
std::vector<Range> parse(std::string_view items) {
    constexpr long kMost = 99'999'999;  // enough to be out of every range, and to count on from
    std::vector<Range> ranges(1);
    long Range::*number = &Range::start;
    for (const char c : items) {
        long& value = ranges.back().*number;
        if (is_digit(c))
            value = std::min(value * 10 + (c - '0'), kMost);
        else if (c == '.')
            value = 0;
        else if (c == '-')
            number = &Range::end;
        else if (c == ',') {
            ranges.emplace_back();
            number = &Range::start;
        }
    }
    return ranges;
}

long last_of(const Range& range) { return range.end != 0 ? range.end : range.start; }

// Whether `next`, which does not start before `range`, overlaps it or begins right behind it.
bool touches(const Range& range, const Range& next) { return next.start <= last_of(range) + 1; }

// A range grows as far as the next one reaches. A single number becomes a range by the next range,
// wherever that ends, and by its successor, but not by itself.
void widen(Range& range, const Range& next) {
    if (range.end != 0)
        range.end = std::max(range.end, last_of(next));
    else if (next.end != 0)
        range.end = next.end;
    else if (next.start != range.start)
        range.end = next.start;
}

// Sorted ranges with all that overlap or touch made one. A single 0 goes: it is what an item
// without a number reads as, and neither a port nor a host.
std::vector<Range> merged(std::span<const Range> sorted) {
    std::vector<Range> out;
    for (const Range& next : sorted) {
        if (!out.empty() && touches(out.back(), next))
            widen(out.back(), next);
        else
            out.push_back(next);
    }
    std::erase_if(out, [](const Range& range) { return last_of(range) == 0; });
    return out;
}

// ---- deleting ----

// `list` begins with a comma or with a mode and a comma, so that a comma stands before every item.
std::string without(std::string list, std::span<const char* const> items) {
    for (std::size_t i = items.size(); i-- > 0;) {
        if (!items[i] || !*items[i]) continue;
        const std::string item = std::string(",") + items[i];
        const std::size_t inside = list.find(item + ",");
        if (inside != std::string::npos)
            list.erase(inside, item.size());
        else if (list.ends_with(item))
            list.erase(list.size() - item.size());
    }
    return list;
}

// ---- script lines ----

void drop_unsafe(std::vector<std::string_view>& items) {
    std::erase_if(items, [](std::string_view item) { return shell_character(item) != '\0'; });
}

int port_number(std::string_view port) {
    constexpr std::size_t kDigits = 5;
    return to_int(port.substr(0, kDigits));
}

// The ports from..to - 1, for a rule.
std::string w_r_port(int from, int to) {
    if (from >= to) return "";
    if (from == to - 1) return format_text("%d\n", from);
    return format_text("%d:%d\n", from, to - 1);
}

// The hosts first..last of a network as the largest blocks that begin at a multiple of their size.
std::string acc_control(std::string_view network, long first, long last) {
    last = std::min(last, kLastHost);
    std::string lines;
    for (long host = first; host <= last;) {
        int bits = 0;
        for (long size = 2; host % size == 0 && host + size - 1 <= last; size *= 2) ++bits;
        lines += format_text(bits ? "%s%d/%d\n" : "%s%d\n", network, host, 32 - bits);
        host += 1L << bits;
    }
    return lines;
}

}  // namespace

std::vector<std::string_view> list_items(std::string_view items) {
    std::vector<std::string_view> found;
    for (std::string_view item = take_word(items, ","); !item.empty(); item = take_word(items, ","))
        found.push_back(item);
    return found;
}

std::vector<std::string_view> port_items(std::string_view ports) {
    return list_items(behind_mode(ports));
}

// A list that has lost the comma behind its mode is left alone, here and below.
std::string with_mode(std::string_view ports, char mode) {
    if (ports.size() == 1) return std::string(ports);
    std::string changed(ports.empty() ? " ," : ports);
    changed.front() = mode;
    return changed;
}

std::string with_port(std::string_view ports, std::string_view item) {
    if (ports.size() == 1) return std::string(ports);
    const std::string list(ports.empty() ? " ," : ports);
    if (list.size() == kModeAndComma) return list + std::string(item);
    return p_sort(list + "," + std::string(item), "");
}

std::string with_host(std::string_view hosts, std::string_view item, std::string_view network) {
    if (hosts.empty()) return std::string(item);
    // A group lies in one network: with the newest item all its hosts move there.
    return p_sort(std::string(hosts) + "," + std::string(item), network);
}

std::string without_ports(std::string_view ports, std::span<const char* const> items) {
    return with_comma(without(std::string(ports), items));
}

std::string without_hosts(std::string_view hosts, std::span<const char* const> items) {
    const std::string rest = without("," + std::string(hosts), items);
    return rest.empty() ? rest : rest.substr(1);
}

std::string p_sort(std::string_view list, std::string_view network) {
    const bool is_ports = network.empty();
    const std::string_view items = is_ports ? behind_mode(list) : list;
    // One item stands as it was typed, a single 0 included.
    if (items.find(',') == std::string_view::npos) return std::string(list);
    std::vector<Range> ranges = parse(items);
    std::stable_sort(ranges.begin(), ranges.end(),
                     [](const Range& a, const Range& b) { return a.start < b.start; });
    std::string sorted(list.substr(0, is_ports ? 1 : 0));
    for (const Range& range : merged(ranges)) {
        if (!sorted.empty()) sorted += ',';
        sorted += format_text(range.end ? "%s%ld-%ld" : "%s%ld", network, range.start, range.end);
    }
    return is_ports ? with_comma(sorted) : sorted;
}

std::string w_port(std::string_view ports) {
    const bool is_blocked = ports.starts_with(kBlockPorts);
    std::vector<std::string_view> items = port_items(ports);
    drop_unsafe(items);
    std::string lines;
    int next = 0;  // the first port behind the items so far
    for (std::string_view item : items) {
        const std::size_t dash = item.find('-');
        const std::string_view first = item.substr(0, dash);
        const std::string_view last = item.substr(std::min(first.size() + 1, item.size()));
        if (is_blocked) {
            lines += w_r_port(next, std::min(port_number(first), kPorts));
            next = port_number(last.empty() ? first : last) + 1;
        } else {
            lines += format_text(last.empty() ? "%s\n" : "%s:%s\n", first, last);
        }
    }
    return is_blocked ? lines + w_r_port(next, kPorts) : lines;
}

std::string w_ip(std::string_view hosts) {
    std::vector<std::string_view> items = list_items(hosts);
    drop_unsafe(items);
    std::string lines;
    for (std::string_view item : items) {
        std::string network;
        for (int part = 0; part < 3; ++part) network += std::string(take_word(item, ".-")) + ".";
        const std::string_view first = take_word(item, ".-");
        const std::string_view last = take_word(item, ".-");
        if (!last.empty())
            lines += acc_control(network, to_long(first), to_long(last));
        else if (!first.empty())
            lines += network + std::string(first) + "\n";
    }
    return lines;
}
