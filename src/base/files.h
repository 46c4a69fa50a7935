// Files read whole or line by line. One that is there and cannot be read throws Unreadable
// (failures.h).
#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "base/failures.h"
#include "base/io.h"
#include "base/kept_texts.h"

// A file is read once: its text is kept (kept_texts.h), unless it is long. So all parts of a
// request see the same content, until the request itself changes the file or runs a command that
// does.

// The whole text of a file.
FileText file_text(const std::string& path);

// Reads a text file in pieces: a line with its line end, or, where the line is longer than the
// limit, so many characters of it at a time.
class LineReader {
public:
    static constexpr std::size_t kWholeLines = std::numeric_limits<std::size_t>::max();

    // Opens `path` (open_regular); not open: there is no such file. `limit`: characters of a piece.
    explicit LineReader(const std::string& path, std::size_t limit = kWholeLines);
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    [[nodiscard]] bool is_open() const { return whole_ || file_.is_open(); }
    // Reads the next piece; false at the end of the file.
    bool next();
    // The piece, with its line end when it holds one; it stands until the next one is read.
    [[nodiscard]] std::string_view piece() const { return piece_; }
    // The piece without its line feed.
    [[nodiscard]] std::string_view text() const;

private:
    bool read_on();

    std::string path_;
    std::size_t limit_;
    FileText whole_;   // of a file that is kept
    Descriptor file_;  // of another one, which is read a block at a time
    std::string block_;
    std::string_view rest_;  // what was read, but not taken yet
    std::string_view piece_;
};

// True when there is such a file, whatever it is; a link that leads nowhere is none.
bool exists(const std::string& path);

// True for a file of /tmp, /var or /run: it is no part of the settings.
bool is_passing(std::string_view path);

// The first line of a file without its line feed, at most `limit` characters of it; nothing when
// there is no such file, an empty text when it is empty.
std::optional<std::string> read_first_line(const std::string& path, std::size_t limit);

// At most `limit` bytes of a file; nothing when there is no such file.
std::optional<std::string> read_file(const std::string& path,
                                     std::size_t limit = LineReader::kWholeLines);
