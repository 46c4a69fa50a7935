// Files read line by line, replaced as a whole, and scratch files that commands write their output
// to. A file that stood whole before a request stands whole after it, old or new.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

// Modes of new files.
inline constexpr mode_t kPlainMode = 0644;
inline constexpr mode_t kSecretMode = 0600;  // everything that passwords stand in or pass through

// Reads a text file in pieces: a line with its line end, or, where the line is longer than the
// limit, so many characters of it at a time.
class LineReader {
public:
    static constexpr std::size_t kWholeLines = std::numeric_limits<std::size_t>::max();

    // Opens `path`; errno tells why when is_open() is false. `limit`: characters of a piece.
    explicit LineReader(const std::string& path, std::size_t limit = kWholeLines);

    [[nodiscard]] bool is_open() const { return file_ != nullptr; }
    // Reads the next piece; false at the end of the file or after a read error.
    bool next();
    // The piece, with its line end when it holds one.
    [[nodiscard]] const std::string& piece() const { return piece_; }
    // The piece without its line feed.
    [[nodiscard]] std::string_view text() const;
    // True when the reading stopped because of an error, not at the end of the file.
    [[nodiscard]] bool failed() const;

private:
    struct Close {
        void operator()(FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<FILE, Close> file_;
    std::size_t limit_;
    std::string piece_;
};

// The first line of a file without its line feed, at most `limit` characters of it; nothing when
// the file cannot be opened, an empty text when it is empty.
std::optional<std::string> read_first_line(const std::string& path, std::size_t limit);

// Reads at most `limit` bytes of a file; nothing when it cannot be read.
std::optional<std::string> read_file(const std::string& path,
                                     std::size_t limit = LineReader::kWholeLines);

// How a replacement ended.
enum class Replaced {
    done,
    not_written,  // a write failed, for one because the disk is full; the temporary file is gone
    not_renamed,  // a temporary file that the caller named stays and holds the new content
};

// The new content of a file, written to a temporary file and put in the target's place in one step.
// The temporary file is created anew with mode 0600 (a link in its place is not followed). The
// target is flushed to disk before it takes its name, and keeps owner and mode of the file that it
// replaces unless `mode` sets one. Where temporary file and target lie on different file systems
// the content is first copied beside the target. Until the last step the old file is whole.
class Replacement {
public:
    // mode: kKeepMode, or the mode of the new file. A new file gets kPlainMode when the mode is
    // kept.
    static constexpr mode_t kKeepMode = static_cast<mode_t>(-1);

    Replacement(std::string target, std::string temporary, mode_t mode = kKeepMode);
    // With a hidden temporary file beside the target, which never outlives the replacement.
    explicit Replacement(const std::string& target, mode_t mode = kKeepMode);
    ~Replacement();  // removes what is left of the temporary file
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    [[nodiscard]] bool is_open() const { return file_ != nullptr; }
    // Appends text; an error shows in the result of finish() or install().
    void write(std::string_view text);
    void write_line(std::string_view text);
    // Ends the last line written when it has no line end yet, so that a line can follow.
    void end_line();
    // Flushes and closes the temporary file. False: not everything is on disk.
    [[nodiscard]] bool finish();
    // finish(), if not done yet, then the rename. errno tells why when it was not renamed.
    [[nodiscard]] Replaced install();

private:
    enum class State { writing, finished, failed, installed };
    bool close_flushed();

    std::string target_;
    std::string temporary_;
    mode_t mode_;
    uid_t owner_;
    gid_t group_;
    FILE* file_ = nullptr;
    State state_ = State::failed;
    bool removable_ = false;  // a temporary file is there, of no use to anybody
    bool hidden_ = false;
    bool line_open_ = false;
};

// Writes `text` as the whole content of `target` (Replacement). False when it could not be put
// there.
[[nodiscard]] bool replace_file(const std::string& target, std::string_view text,
                                mode_t mode = Replacement::kKeepMode);

// Rewrites a file line by line: `edit` gets each line with its line end and writes what takes its
// place; `finish` writes what follows the last line. The result of reading, writing and renaming:
enum class Rewritten { done, unreadable, no_temporary, not_written, not_renamed };
template <class Edit, class Finish>
[[nodiscard]] Rewritten rewrite_lines(const std::string& target, const std::string& temporary,
                                      mode_t mode, Edit edit, Finish finish) {
    LineReader in(target);
    if (!in.is_open()) return Rewritten::unreadable;
    Replacement out(target, temporary, mode);
    if (!out.is_open()) return Rewritten::no_temporary;
    while (in.next()) edit(in.piece(), out);
    if (in.failed()) return Rewritten::unreadable;
    finish(out);
    switch (out.install()) {
        case Replaced::done:
            return Rewritten::done;
        case Replaced::not_written:
            return Rewritten::not_written;
        case Replaced::not_renamed:
            break;
    }
    return Rewritten::not_renamed;
}

// A scratch file with a fixed name for the output of a command: created anew before the command
// runs, with mode 0600 and never through a link, and removed at the end of its life.
class ScratchFile {
public:
    explicit ScratchFile(std::string path);
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    // False when the file could not be created anew: the command must not run then.
    [[nodiscard]] bool ready() const { return ready_; }

private:
    std::string path_;
    bool ready_;
};

// Creates `path` anew and empty with mode 0600, removing what stood there; never follows a link.
[[nodiscard]] bool create_anew(const std::string& path);

// Runs a command that writes to the scratch file `path` and returns the first line of it, at most
// `limit` characters, without its line feed. Nothing when the file could not be made or opened; an
// empty text when the command wrote nothing.
std::optional<std::string> first_output_line(const std::string& command, const std::string& path,
                                             std::size_t limit);
