// Space-separated settings files, as the filtering proxy has them: key, blank, value, and "#"
// comments. Every rewrite replaces the file as a whole (replacement.h); a failed one leaves the old
// file.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "base/written.h"

// Most characters of a line in a space-separated file.
inline constexpr std::size_t kSettingLine = 8191;

// The weekday names of the filter's schedule, Sunday first.
inline constexpr std::array<std::string_view, 7> days = {
    "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

// The value of the first line whose first word is `key`: the rest of the line from its second word,
// without trailing blanks. Returns the length copied; 0 when not found or not readable (`out` holds
// the default), when the key has no value (`out` is empty) and when out has no room at all.
int GetPrivateProfileString(const std::string& path, std::string_view key,
                            std::string_view fallback, std::span<char> out);
// Sets keys, all in one rewrite: the value of every line with a key, or a new line at the end. A
// missing file is created. The temporary file is the file's name with ".tmp" behind it.
struct SpacedSetting {
    std::string_view key;
    std::string value;
};
Written write_settings(const std::string& path, std::span<const SpacedSetting> settings);

// Values as the filter has them: "on" or "off", and "Weekday a b" (weekday 0, Sunday, to 6).
std::string on_off_text(int flag);
std::string date_text(unsigned weekday, int a, int b);

// True for an empty line and for one that begins with "#".
bool is_comment(std::string_view line);

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// write_settings for one key: a text, a number, on_off_text, date_text. 1 written, 0 failed.
[[nodiscard]] int WritePrivateProfileString(const std::string& path, std::string_view key,
                                            std::string_view value);
[[nodiscard]] int WritePrivateProfileInt(const std::string& path, std::string_view key, int value);
[[nodiscard]] int WritePrivateProfileOnOff(const std::string& path, std::string_view key, int flag);
[[nodiscard]] int WritePrivateProfileDate(const std::string& path, std::string_view key,
                                          unsigned weekday, int a, int b);
// A text in the proxy's filter.conf.
[[nodiscard]] int WriteProfileString(std::string_view key, std::string_view value);
