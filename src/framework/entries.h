// Entry lists, such as the filtering proxy's site lists: one entry a line, and "#" comments.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

// Results of the entry-list functions.
inline constexpr int kCannotOpen = -37;  // the file, or its temporary file
inline constexpr int kEntryExists = -38;

// Copies up to `maximum` entries (whole lines), beginning with entry `first` (from 0), into `out`,
// each with its NUL, while they fit. Reads no further than it copies. Returns their number, or
// kCannotOpen.
[[nodiscard]] int GetEntries(const std::string& path, int first, int maximum, std::span<char> out);
// Appends an entry. 0, kEntryExists when it is the first word of some line, or kCannotOpen: the
// list cannot be read or written; it is then as it was.
[[nodiscard]] int AppendEntry(const std::string& path, std::string_view entry);
// Appends one after another the entries that are not there yet, each as AppendEntry does, in one
// pass over the list; `appended` is their number. 0, or kCannotOpen, and none is appended.
[[nodiscard]] int AppendEntries(const std::string& path, std::span<const std::string_view> entries,
                                std::size_t& appended);
// Drops every line whose first word is one of the names, ignoring case, and every line of nothing
// but blanks; comments and empty lines stay.
// 0 or kCannotOpen.
[[nodiscard]] int RemoveEntries(const std::string& path, std::span<const std::string_view> names);
// Empties the list; a missing one stays missing. 0 or kCannotOpen.
[[nodiscard]] int RemoveAllEntries(const std::string& path);
