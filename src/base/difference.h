// What differs between two versions of a text.
#pragma once

#include <string>
#include <string_view>

// The lines that differ, each behind "-" or "+", with up to three lines around them behind a blank,
// as a unified difference has them (diff(1), -u, without the two lines of file names); empty when
// the texts are equal. Where very much differs, all of it is shown as removed and added.
std::string unified_difference(std::string_view before, std::string_view after);

// True when every line of a text is a comment, a section header, empty or a setting "key=value",
// whose key is a name of letters, digits, "_", "-" and ".".
bool is_settings_text(std::string_view text);

// A line "key: before -> after" for each setting that differs, "key: after" and "key: - before" for
// one that is new and one that is gone. Of a password it only says that it has changed.
std::string settings_difference(std::string_view before, std::string_view after);
