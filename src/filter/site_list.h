// The lists of sites that the content filter bans or allows: one entry a line, and "#" comments.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/paths.h"

// A list's file is named by the filter's settings and looked up again for every operation. The
// results are those of the entry-list functions (entries.h).
struct SiteList {
    std::string_view key;            // in filter.conf
    std::string_view standard_path;  // where the settings name none

    [[nodiscard]] std::string path() const;  // throws Unreadable (files.h), as count() does not
    // GetEntries, AppendEntry, RemoveEntries and RemoveAllEntries.
    [[nodiscard]] int get(int first, int maximum, std::span<char> out) const;
    // Counts at most so many; 0 when it cannot be read.
    [[nodiscard]] std::size_t count(std::size_t most) const;
    [[nodiscard]] int add(std::string_view entry) const;
    [[nodiscard]] int del(std::span<const std::string_view> entries) const;
    [[nodiscard]] int del_all() const;
};

inline constexpr SiteList kAllowList = {"access_file", AllowListF};
inline constexpr SiteList kBanList = {"deny_file", BanListF};

// Results of an import.
inline constexpr int kImportNotAdded = 29;
inline constexpr int kImportUnreadable = 30;

// The sites of a text, in its order: what stands behind each "http://" up to a blank, a line end,
// "/" or "?". A NUL cuts a site short; an octet 0xFF ends the text.
std::vector<std::string_view> sites_in(std::string_view text);

// Adds the sites of an uploaded file that are not listed yet, all or none; `added` is their number.
// The file is deleted when it could be read, whatever comes of it. 0, kImportUnreadable (also for a
// path that no upload has) or kImportNotAdded.
[[nodiscard]] int import_site(const char* path, const SiteList& list, std::size_t& added);
