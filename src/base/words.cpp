#include "base/words.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

// Read in 64 bits, also where long has 32: what is too large for a field is cut alike everywhere.
long long number_in(std::string_view text) {
    return std::strtoll(std::string(text).c_str(), nullptr, 10);
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
