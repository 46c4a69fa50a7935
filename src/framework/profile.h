// Key=value files, with or without "[section]" lines (network interface files, the WAN settings,
// the appliance settings, shell scripts). Readers find a key by its beginning and take the first
// line of the whole file that has it, so writers put a key before any longer key that begins with
// it.
//
// Out texts are spans of which at most size - 1 characters are filled, followed by a NUL.
// Every rewrite replaces the file as a whole (replacement.h); a failed one leaves the old file.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/files.h"
#include "base/text.h"
#include "base/written.h"

// Most characters that the key=value readers take of a line.
inline constexpr std::size_t kProfileLine = 275;

// An open key=value file, or what a program printed so: its lines at the moment of opening.
class Profile {
public:
    // A line that sets a key, without its line feed. Of one that is too long, so much as is read at
    // a time; what follows is a line of its own.
    struct Line {
        std::string_view text;
        std::size_t equals;  // where its first "=" is
        std::size_t next;    // the next line of those that begin alike
    };

    // Nothing when there is no such file; one that cannot be read throws Unreadable (files.h).
    static std::optional<Profile> open(const std::string& path);
    explicit Profile(std::string_view printed) : Profile(FileText(printed)) {}
    explicit Profile(FileText text);
    [[nodiscard]] std::span<const Line> lines() const { return lines_; }
    // The first line of the file whose text before "=" begins so; null when there is none.
    [[nodiscard]] const Line* find(std::string_view beginning) const;

private:
    static constexpr std::size_t kBeginnings = 32;
    static std::size_t beginning_of(char first) {
        return static_cast<unsigned char>(first) % kBeginnings;
    }
    FileText text_;
    std::vector<Line> lines_;
    std::array<std::size_t, kBeginnings> first_;  // of the lines that begin alike
};

// ---- reading ----

// The value of the first line whose text before "=" begins with `key`, without its line feed (a
// carriage return stays). 1 found; 0 not found or no stream: `out` gets the default.
int GetProfileString(std::string_view key, std::string_view fallback, std::span<char> out,
                     const Profile* stream);
// The value as atoi (atol) reads it, or the default when not found. An empty value reads as 0.
int GetProfileInt(std::string_view key, int fallback, const Profile* stream);
long GetProfileLong(std::string_view key, long fallback, const Profile* stream);

// The value of a key in a file (GetProfileString); the default also when there is no such file.
template <std::size_t N>
Text<N> setting(const std::optional<Profile>& file, std::string_view key,
                std::string_view fallback) {
    Text<N> value;
    GetProfileString(key, fallback, value.buffer(), file ? &*file : nullptr);
    return value;
}
void get_setting(const std::string& path, std::string_view key, std::string_view fallback,
                 std::span<char> out);
template <std::size_t N>
Text<N> setting(const std::string& path, std::string_view key, std::string_view fallback) {
    Text<N> value;
    get_setting(path, key, fallback, value.buffer());
    return value;
}

// ---- writing ----

struct Setting {
    std::string_view key;
    std::optional<std::string> value;  // nothing: lines with that key are dropped
};

// Sets the keys of a section, all in one rewrite: each in place of the section's line with that
// key, else as the section's last line; where there is no such section, in a new one at the end of
// the file. The temporary file ("Ini", five digits, ".tmp") lies in the working directory. A
// missing file is not created, which counts as a failure to write it.
Written set_settings(std::string_view section, std::span<const Setting> settings,
                     const std::string& path);
// The same for one key: kProfileCodes.
[[nodiscard]] int SetProfileString(std::string_view section, std::string_view key,
                                   std::string_view value, const std::string& path);

// A name for a temporary file in the working directory: "Ini00000.tmp" with five pseudo-random
// digits.
std::string ini_temporary();

// Sets every line "key=..." of a file without sections to its value, or appends one, all in one
// rewrite. A missing file is not created. Works through "/tmp/setstr.tmp".
Written set_file_strings(std::span<const Setting> settings, const std::string& path);
// The same for one key.
Written SetFileString(std::string_view key, std::optional<std::string_view> value,
                      const std::string& path);

// ---- offered to pages that a firmware adds: none of the shipped ones calls these ----

// As GetProfileString, but the key must match exactly and all trailing carriage returns and line
// feeds go. 0 found, 1 not found (out emptied), -1 no stream or no out.
int GetStrByKey(std::string_view key, std::span<char> out, const Profile* stream);
int GetIntByKey(std::string_view key, int* out, const Profile* stream);
