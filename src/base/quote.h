// Values that meet another program's grammar. A value of harmless characters stands as it is
// everywhere; any other is quoted as the program that reads the file asks, so that it gets back
// exactly what was typed.
#pragma once

#include <string>
#include <string_view>

// True when every character is a letter, a digit or one of . - _ @ : / + , = % (also for "").
bool is_harmless(std::string_view text);

// The first character with a meaning to the shell (blank ; & | < > ( ) $ ` \ " ' * ? [ ] { } ~ #
// !), or NUL when there is none.
char shell_character(std::string_view text);

// The text as one word of a POSIX shell: as it stands when harmless, else between single quotes.
std::string shell_word(std::string_view text);

// The text for a place between double quotes of a POSIX shell: \ $ and ` get a backslash.
// A text that holds a double quote does not belong there; the caller refuses it.
std::string shell_quoted_text(std::string_view text);

// Takes the backslashes of shell_quoted_text away again.
std::string shell_unquoted_text(std::string_view text);

// The text as one word of pppd's option and secrets files (pppd(8), "OPTIONS FILES"): as it stands
// when harmless, else between double quotes.
std::string pppd_word(std::string_view text);
