// What the targets share: each is a check() that ends the program when something does not hold.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "base/words.h"

void check(std::string_view input);

inline void expect(bool holds) { holds ? void() : __builtin_trap(); }

// Takes the first line off the front of the input.
inline std::string_view take_line(std::string_view& input) {
    const std::string_view line = input.substr(0, input.find('\n'));
    input.remove_prefix(std::min(line.size() + 1, input.size()));
    return line;
}

// The input, with one of the pieces ("a|b|c") of a grammar for each octet from 0x80 on.
inline std::string with_pieces(std::string_view input, std::string_view all) {
    std::vector<std::string_view> pieces;
    while (!all.empty()) pieces.push_back(take_word(all, "|"));
    std::string text;
    for (const char c : input)
        text += c >= 0 ? std::string{c} : std::string(pieces[(c & 0xffU) % pieces.size()]);
    return text;
}

// NOLINTNEXTLINE: not inline, as only the fuzzer calls it
extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    check({data, size});
    return 0;
}
