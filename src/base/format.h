// The formatter for texts that come from files: a message file is data that an engineer edits,
// so no text of it ever reaches the C library as a format.
#pragma once

#include <string>
#include <string_view>
#include <variant>

// One argument of a format: none, a text or a number.
using FormatArg = std::variant<std::monostate, std::string_view, long>;

// Replaces the directives of `format`, in order, by the arguments: %s %d %i %u %x %ld %lu %c, and
// %% for a percent sign. %s may have a width and a precision of at most 999 ("%8s", "%-8s",
// "%.40s"). An argument is shown as what it is, so a text for %d stays a text. A directive without
// an argument and every other use of "%" are copied as they stand.
std::string format_text(std::string_view format, const FormatArg& a = {}, const FormatArg& b = {},
                        const FormatArg& c = {});
