// Words and numbers in texts, as the appliance's files have them.
#pragma once

#include <string>
#include <string_view>

// Characters of ASCII, whatever the locale. The lower case of what is no letter is itself.
constexpr bool is_digit(char c) { return c >= '0' && c <= '9'; }
constexpr char lower_case(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}
constexpr bool is_letter(char c) { return lower_case(c) >= 'a' && lower_case(c) <= 'z'; }

// The text without trailing spaces, tabs, line feeds and carriage returns.
std::string_view TrancateSpace(std::string_view text);

// The line without all carriage returns and line feeds at its end.
std::string_view without_line_end(std::string_view line);

// Takes the next word off the front of `rest`, words being separated by `separators`; empty: no
// more.
std::string_view take_word(std::string_view& rest, std::string_view separators = " \t\r\n");

// The first word of a text; empty when it has none.
inline std::string_view first_word(std::string_view text) { return take_word(text); }

// The text as one line: each control character is a "?".
std::string one_line(std::string_view text);

// A number as atoi (atol) reads it: leading blanks, a sign, digits; 0 when there are none.
int to_int(std::string_view text);
long to_long(std::string_view text);

// True when the number that to_int reads is from `least` to `most`; one that is too large for an
// int is not.
bool is_within(std::string_view number, int least, int most);
