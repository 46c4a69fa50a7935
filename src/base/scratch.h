// Scratch files that commands write their output to.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

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

// What of a command goes to its scratch file.
enum class Captured { output, output_and_errors };

// Runs a command with its output redirected to the scratch file `path` ("COMMAND > PATH") and
// returns the first line of it, at most `limit` characters, without its line feed. Nothing when the
// file could not be made or read; an empty text when the command wrote nothing.
std::optional<std::string> first_output_line(const std::string& command, const std::string& path,
                                             std::size_t limit,
                                             Captured captured = Captured::output);
