#include "base/words.h"

#include <algorithm>
#include <limits>
#include <string>

namespace {

// As strtoll(3) reads it. In 64 bits, also where long has 32: what is too large for a field is cut
// alike everywhere.
long long number_in(std::string_view text) {
    const auto is_blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
    while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
    const bool is_negative = text.starts_with('-');
    if (is_negative || text.starts_with('+')) text.remove_prefix(1);
    using Limits = std::numeric_limits<long long>;
    long long number = 0;
    for (const char c : text) {
        if (!is_digit(c)) break;
        if (__builtin_mul_overflow(number, 10, &number) ||
            __builtin_add_overflow(number, c - '0', &number))
            return is_negative ? Limits::min() : Limits::max();
    }
    return is_negative ? -number : number;
}

}  // namespace

std::string_view TrancateSpace(std::string_view text) {
    const std::size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

std::string_view without_line_end(std::string_view line) {
    return line.substr(0, line.find_last_not_of("\r\n") + 1);
}

std::string_view take_word(std::string_view& rest, std::string_view separators) {
    const auto separates = [&](char c) {
        return std::ranges::find(separators, c) != separators.end();
    };
    const auto begin = std::find_if_not(rest.begin(), rest.end(), separates);
    const auto end = std::find_if(begin, rest.end(), separates);
    rest = {end, rest.end()};
    return {begin, end};
}

int to_int(std::string_view text) { return static_cast<int>(number_in(text)); }

long to_long(std::string_view text) { return static_cast<long>(number_in(text)); }

bool is_within(std::string_view number, int least, int most) {
    const long long value = number_in(number);
    return value >= least && value <= most;
}

std::string one_line(std::string_view text) {
    std::string line(text);
    for (char& c : line)
        if (static_cast<unsigned char>(c) < ' ' || c == 0x7F) c = '?';
    return line;
}
