// Values that meet another program's grammar. A value stands as it was typed unless the program
// that reads the file would misread a character of it; then it is quoted as that program asks, so
// that it gets back exactly what was typed.
#pragma once

#include <string>
#include <string_view>

// True when every character is a letter, a digit or one of . - _ @ : / + , = % (also for ""): such
// a word may stand in a command.
bool is_harmless(std::string_view text);

// The first character with a meaning to the shell (blank ; & | < > ( ) $ ` \ " ' * ? [ ] { } ~ #
// !), or NUL when there is none.
char shell_character(std::string_view text);

// The text for a place within a word of a POSIX shell, such as behind "NAME=": between single
// quotes when it holds a blank, tab, line feed or one of ; & | < > ( ) $ ` \ " ' * ? [ { ~ #.
std::string shell_word(std::string_view text);

// The text for a place between double quotes of a POSIX shell: \ $ and ` get a backslash.
// A text that holds a double quote does not belong there; the caller refuses it.
std::string shell_quoted_text(std::string_view text);

// Takes the backslashes of shell_quoted_text away again.
std::string shell_unquoted_text(std::string_view text);

// The text as one word of pppd's option and secrets files (pppd(8), "OPTIONS FILES"): between
// double quotes when it is empty or holds white space or one of " ' # \.
std::string pppd_word(std::string_view text);
