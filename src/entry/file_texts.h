// What a change does to files, in words: for the history, which looks back, and the preview, which
// looks ahead.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "framework/page_room.h"

// True when only its owner can read a file of that mode.
constexpr bool is_private(mode_t mode) { return (mode & 077) == 0; }

// Settings that differ as "key: before -> after", of other texts the lines that differ; "changed"
// for a secret that is no list of settings, and where only comments or the order differ. Before it
// "(new)" or "(removed)" where one of the two is no file; "(mode)" where nothing else differs.
std::string difference_in_words(const std::optional<std::string>& before,
                                const std::optional<std::string>& after, bool is_secret);

// A list of files for the marker that is being resolved, each with its path, what describes it, and
// an empty line. What the page has no room for is left out, and says so; `behind` is what the page
// must have room for besides.
template <class Files, class Describe>
std::string list_of_files(const Files& files, std::string_view behind, Describe describe) {
    ListRoom room;
    if (!room.take(behind)) return "";
    std::string list;
    for (const auto& file : files) {
        std::string part = file.path + "\n" + describe(file) + "\n";
        if (!room.take(part)) {
            part = file.path + "\n(There is more than this page has room for.)\n\n";
            if (!room.take(part)) break;
        }
        list += part;
    }
    return list;
}
