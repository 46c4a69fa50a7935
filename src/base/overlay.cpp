#include "base/overlay.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "base/failures.h"
#include "base/io.h"

namespace {

constexpr std::size_t kBlock = 4096;

struct Preview {
    bool is_on = false;
    std::vector<ForeseenFile> files;
    std::vector<std::string> commands;
};
Preview preview;

ForeseenFile* find(const std::string& path) {
    const auto found = std::ranges::find(preview.files, path, &ForeseenFile::path);
    return found == preview.files.end() ? nullptr : &*found;
}

// Takes the place of what was foreseen of the file before.
void foresee(ForeseenFile file) {
    ForeseenFile* const earlier = find(file.path);
    if (!earlier) return preview.files.push_back(std::move(file));
    if (file.exists && !file.text) {
        file.text = earlier->text;
        file.is_cut = earlier->is_cut;
    }
    *earlier = std::move(file);
}

// True when the file on the disk has this content. One that cannot be read has not.
bool disk_holds(const std::string& path, std::string_view text) {
    off_t size = 0;
    const Descriptor file = open_regular(path, O_RDONLY, size);
    if (!file.is_open() || static_cast<std::size_t>(size) != text.size()) return false;
    std::array<char, kBlock> block;
    ssize_t got = 0;
    while (!text.empty() && (got = read_some(file.get(), block.data(), block.size())) > 0) {
        const std::string_view bytes(block.data(), static_cast<std::size_t>(got));
        if (!text.starts_with(bytes)) return false;
        text.remove_prefix(bytes.size());
    }
    return text.empty();
}

bool holds(const std::string& path, std::string_view text) {
    const ForeseenFile* file = foreseen_file(path);
    if (file && !file->exists) return false;
    return file && file->text ? file->text.view() == text : disk_holds(path, text);
}

// Whether a file could be put there or taken away: the folder can be written, and is there.
bool could_be_changed(const std::string& path) {
    if (access(folder_of(path).c_str(), W_OK) != 0) return false;
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return true;
    errno = EISDIR;
    return false;
}

Written noted(Written how, const std::string& path) {
    note_failure(Failure::cannot_write, path);
    return how;
}

// True when the disk has the file otherwise.
bool differs(const ForeseenFile& file) {
    struct stat status {};
    const bool is_there = stat(file.path.c_str(), &status) == 0;
    if (!is_there || !file.exists) return is_there != file.exists;
    return (status.st_mode & 07777) != file.mode ||
           (file.text && !disk_holds(file.path, file.text.view()));
}

}  // namespace

void begin_preview() { preview.is_on = true; }
bool in_preview() { return preview.is_on; }

void end_preview() {
    preview.is_on = false;
    std::erase_if(preview.files, [](const ForeseenFile& file) { return !differs(file); });
}

// ---- what it shows ----

std::vector<ForeseenFile>& foreseen_files() { return preview.files; }

void foresee_command(std::string text) { preview.commands.push_back(std::move(text)); }

const std::vector<std::string>& foreseen_commands() { return preview.commands; }

// ---- the files in a preview ----

const ForeseenFile* foreseen_file(const std::string& path) {
    if (!preview.is_on) return nullptr;
    const ForeseenFile* file = find(path);
    return file ? file : find(behind_links(path));
}

int stat_seen(const std::string& path, struct stat& status) {
    const ForeseenFile* file = foreseen_file(path);
    if (!file) return stat(path.c_str(), &status);
    if (!file->exists) {
        errno = ENOENT;
        return -1;
    }
    status = {};
    status.st_mode = S_IFREG | file->mode;
    status.st_uid = file->owner;
    status.st_gid = file->group;
    return 0;
}

Written foresee_text(ForeseenFile file, const std::string& temporary) {
    struct stat old {};
    if (holds(file.path, file.text.view()) && stat_seen(file.path, old) == 0) {
        if ((old.st_mode & 07777) != file.mode) foresee_mode(file.path, old, file.mode);
        return Written::done;
    }
    if (!could_be_changed(temporary)) return noted(Written::no_temporary, file.path);
    if (!could_be_changed(file.path)) return noted(Written::not_renamed, file.path);
    foresee(std::move(file));
    return Written::done;
}

Written foresee_cut(const std::string& path) {
    struct stat old {};
    if (stat_seen(path, old) != 0 && means_missing(errno)) return Written::missing;
    if (!foreseen_file(path) && !open_regular(path, O_WRONLY).is_open())
        return noted(Written::not_written, path);
    foresee({.path = behind_links(path),
             .mode = old.st_mode & 07777,
             .owner = old.st_uid,
             .group = old.st_gid,
             .text = FileText(""),
             .is_cut = true});
    return Written::done;
}

Written foresee_removal(const std::string& path) {
    struct stat old {};
    if (stat_seen(path, old) != 0) return Written::done;
    if (!could_be_changed(path)) return noted(Written::not_written, path);
    foresee({.path = path, .exists = false});
    return Written::done;
}

void foresee_mode(const std::string& path, const struct stat& status, mode_t mode) {
    foresee(
        {.path = behind_links(path), .mode = mode, .owner = status.st_uid, .group = status.st_gid});
}
