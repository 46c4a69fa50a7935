// Settings files of three shapes, each with its own matching rules:
//
// - key=value files, with or without "[section]" lines (network interface files, the WAN settings,
//   the appliance settings). Readers find a key by its beginning and take the first line of the
//   whole file that has it, so writers put a key before any longer key that begins with it.
// - space-separated files: key, blank, value, and "#" comments (the filtering proxy's settings).
// - entry lists: one entry a line, and "#" comments (the proxy's site lists).
//
// Out texts are spans of which at most size - 1 characters are filled, followed by a NUL.
// Every rewrite replaces the file as a whole (files.h); a failed one leaves the old file.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "framework/text.h"

// Results of the entry-list functions.
inline constexpr int kCannotOpen = -37;  // the file, or its temporary file
inline constexpr int kEntryExists = -38;

// Most characters that the key=value readers take of a line.
inline constexpr std::size_t kProfileLine = 275;
// Most characters of a line in a space-separated file.
inline constexpr std::size_t kSettingLine = 8191;

// The weekday names of the filter's schedule, Sunday first.
inline constexpr std::array<std::string_view, 7> days = {
    "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

// An address of the DNS server list: fifteen characters and the NUL.
using DnsText = Text<16>;

// An open key=value file: its content at the moment of opening.
class Profile {
public:
    static std::optional<Profile> open(const std::string& path);
    [[nodiscard]] std::string_view content() const { return content_; }

private:
    explicit Profile(std::string content) : content_(std::move(content)) {}
    std::string content_;
};

// A pointer to the open file, or null: what the lookups below take.
inline const Profile* stream_of(const std::optional<Profile>& file) {
    return file ? &*file : nullptr;
}

// ---- key=value files ----

// The value of the first line whose text before "=" begins with `key`, without its line feed (a
// carriage return stays). 1 found; 0 not found or no stream: `out` gets the default.
int GetProfileString(std::string_view key, std::string_view fallback, std::span<char> out,
                     const Profile* stream);
// The value as atoi (atol) reads it, or the default when not found. An empty value reads as 0.
int GetProfileInt(std::string_view key, int fallback, const Profile* stream);
long GetProfileLong(std::string_view key, long fallback, const Profile* stream);

// As GetProfileString, but the key must match exactly and all trailing carriage returns and line
// feeds go. 0 found, 1 not found (out emptied), -1 no stream or no out.
int GetStrByKey(std::string_view key, std::span<char> out, const Profile* stream);
int GetIntByKey(std::string_view key, int* out, const Profile* stream);

// Sets key=value in a section: in place of the section's line with that key, else as the section's
// last line, else in a new section at the end of the file. The temporary file ("Ini", five digits,
// ".tmp") lies in the working directory. 0 done; 1 the file is missing or nothing could be written;
// otherwise the result of the rename.
int SetProfileString(std::string_view section, std::string_view key, std::string_view value,
                     const std::string& path);

// The name "Ini00000.tmp" with five pseudo-random digits.
std::string ini_temporary();

// Sets every line "key=..." of a file to the value, or appends one; without a value such lines are
// dropped. A missing file is not created. Works through "/tmp/setstr.tmp". True when done.
bool SetFileString(std::string_view key, std::optional<std::string_view> value,
                   const std::string& path);

// ---- the DNS server list: keys dns_server1 to dns_server3 of the appliance settings file ----

// The first server line's value, at most 15 characters; empty when there is none.
void GetDNS(DnsText& out);
// The first two servers for display, the second behind "<BR>".
void GetWanDNS(std::span<char> out);
// Server n: 2 and 3, any other n is server 1.
void GetDNS_N(int n, DnsText& out);
// Stores server n in section "network".
void SaveDNS_N(int n, std::string_view value);

// ---- space-separated files ----

// The value of the first line whose first word is `key`: the rest of the line from its second word,
// without trailing blanks. Returns the length copied; 0 when not found or not readable (`out` holds
// the default), when the key has no value (`out` is empty) and when out has no room at all.
int GetPrivateProfileString(const std::string& path, std::string_view key,
                            std::string_view fallback, std::span<char> out);
// Sets the value of every line with that key, or appends one; creates the file. 1 written, 0
// failed.
int WritePrivateProfileString(const std::string& path, std::string_view key,
                              std::string_view value);
int WriteProfileString(std::string_view key, std::string_view value);  // in the proxy's filter.conf
int WritePrivateProfileInt(const std::string& path, std::string_view key, int value);
int WritePrivateProfileOnOff(const std::string& path, std::string_view key, int flag);
// "Weekday a b"; weekday 0 (Sunday) to 6.
int WritePrivateProfileDate(const std::string& path, std::string_view key, unsigned weekday, int a,
                            int b);

// ---- entry lists ----

// Copies up to `maximum` entries (whole lines), beginning with entry `first` (from 0), into `out`,
// each with its NUL, while they fit. Reads no further than it copies. Returns their number, or
// kCannotOpen.
int GetEntries(const std::string& path, int first, int maximum, std::span<char> out);
// Appends an entry. 0, kEntryExists when it is the first word of some line, or kCannotOpen: the
// list cannot be read or written; it is then as it was.
int AppendEntry(const std::string& path, std::string_view entry);
// Appends one after another the entries that are not there yet, each as AppendEntry does, in one
// pass over the list; `appended` is their number. 0, or kCannotOpen, and none is appended.
int AppendEntries(const std::string& path, std::span<const std::string_view> entries,
                  std::size_t& appended);
// Drops every line whose first word is one of the names, ignoring case, and every blank line.
// 0 or kCannotOpen.
int RemoveEntries(const std::string& path, std::span<const std::string_view> names);
// Empties the list; a missing one stays missing. 0 or kCannotOpen.
int RemoveAllEntries(const std::string& path);

// ---- small readers ----

// The text without trailing spaces, tabs, line feeds and carriage returns.
std::string_view TrancateSpace(std::string_view text);
// Takes the next word off the front of `rest`, words being separated by `separators`; empty: no
// more.
std::string_view take_word(std::string_view& rest, std::string_view separators = " \t\r\n");
// A number as atoi (atol) reads it: leading blanks, a sign, digits; 0 when there are none.
int to_int(std::string_view text);
long to_long(std::string_view text);
