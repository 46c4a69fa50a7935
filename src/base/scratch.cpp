#include "base/scratch.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/files.h"
#include "base/shell.h"

bool create_anew(const std::string& path) {
    // Scratch names are known to everybody who may write /tmp, so what stands there is not ours.
    Descriptor file;
    if (unlink(path.c_str()) == 0 || errno == ENOENT)
        file.reset(
            open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kSecretMode));
    const bool created = file.is_open() && file.reset();
    if (!created) note_failure(Failure::cannot_write, path);
    return created;
}

ScratchFile::ScratchFile(std::string path) : path_(std::move(path)), ready_(create_anew(path_)) {}

ScratchFile::~ScratchFile() { told(remove_file(path_)); }

std::optional<std::string> first_output_line(const std::string& command, const std::string& path,
                                             std::size_t limit, Captured captured) try {
    const ScratchFile scratch(path);
    if (!scratch.ready()) return std::nullopt;
    const bool with_errors = captured == Captured::output_and_errors;
    run_command(command + " > " + path + (with_errors ? " 2> " + path : ""));
    return read_first_line(path, limit);
} catch (const Unreadable&) {
    return std::nullopt;
}
