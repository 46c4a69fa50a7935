// The lines of the appliance's start-up scripts, of which the pages switch some on and off by their
// first character: behind a blank the shell runs a line, behind "#" it passes it over.
#pragma once

#include <string>
#include <string_view>

inline constexpr char kLineOn = ' ';
inline constexpr char kLineOff = '#';

constexpr char mark_of(bool on) { return on ? kLineOn : kLineOff; }
constexpr bool is_on(std::string_view line) { return !line.starts_with(kLineOff); }

// Takes the next line, with its line end, off the front of a text that is not empty.
std::string_view take_script_line(std::string_view& text);

// A line that is not empty with `mark` in the place of its first character, whatever that was.
std::string marked(char mark, std::string_view line);

// The same for a script that others write, too, whose lines need not have a mark: one that is on or
// off as wanted stays as it is, and one without a mark gets "#" in front.
std::string switched(bool on, std::string_view line);
