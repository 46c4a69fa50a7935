// What a change does to files, in words: for the history, which looks back, and the preview, which
// looks ahead.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// True when only its owner can read a file of that mode.
constexpr bool is_private(mode_t mode) { return (mode & 077) == 0; }

// Settings that differ as "key: before -> after", of other texts the lines that differ; "changed"
// for a secret that is no list of settings, and where only comments or the order differ. Before it
// "(new)" or "(removed)" where one of the two is no file; "(mode)" where nothing else differs.
std::string difference_in_words(const std::optional<std::string>& before,
                                const std::optional<std::string>& after, bool is_secret);

// What a list says of a file.
struct FileWords {
    std::string path;
    std::string words;
};

// A list of so many files for the marker that is being resolved: of each its path, the words that
// `words_of` has for that number, and an empty line. What the page has no room for is left out, and
// that is said; `behind` is what the page must have room for besides.
std::string list_of_files(std::size_t number, std::string_view behind,
                          FileWords (*words_of)(std::size_t file));
