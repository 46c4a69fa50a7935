#include "base/kept_texts.h"

#include <time.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

// So many files stay open: a page reads fewer, a long history more.
constexpr std::ptrdiff_t kMostOpen = 16;

struct Kept {
    std::string path;
    FileText text;
    dev_t device = 0;
    ino_t inode = 0;
    timespec changed{};
    bool is_telling = false;
    bool is_doubted = false;
    Descriptor file = Descriptor();  // of which the status is still to be taken
    timespec since{};                // when it began to be read

    // The size, too: of a file that was cut while it was read there is less.
    [[nodiscard]] bool is_of(const struct stat& status) const {
        return status.st_dev == device && status.st_ino == inode &&
               status.st_mtim.tv_sec == changed.tv_sec &&
               status.st_mtim.tv_nsec == changed.tv_nsec &&
               static_cast<std::size_t>(status.st_size) == text.view().size();
    }

    // Of one that may have been changed since, none: it is no file that is met again.
    void take_status() {
        if (!file.is_open()) return;
        struct stat status {};
        is_telling = fstat(file.get(), &status) == 0 && is_time_telling(status, since);
        if (is_telling) {
            device = status.st_dev;
            inode = status.st_ino;
            changed = status.st_mtim;
        }
        file.reset();
    }
};

// Never destroyed: what is registered to run when the process exits reads files, too, and what is
// still open then the kernel closes.
std::vector<Kept>& kept() {
    static auto* const files = new std::vector<Kept>;
    return *files;
}

auto find_kept(const std::string& path) { return std::ranges::find(kept(), path, &Kept::path); }

FileText text_if_of(std::vector<Kept>::iterator found, const struct stat& status) {
    found->take_status();
    found->is_doubted = false;
    if (found->is_of(status)) return found->text;
    kept().erase(found);
    return FileText();
}

}  // namespace

FileText::FileText(std::string_view copied) : size_(copied.size()) {
    const auto bytes = std::make_shared_for_overwrite<char[]>(size_);
    copied.copy(bytes.get(), size_);
    bytes_ = bytes;
}

bool may_be_kept(std::string_view path, std::size_t size) {
    return size <= kMostKept && path.find("/tmp/") == path.npos && !path.starts_with("/proc/");
}

FileText kept_text(const std::string& path) {
    const auto found = find_kept(path);
    if (found == kept().end()) return FileText();
    if (!found->is_doubted) return found->text;
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) status = {};  // of no file
    return text_if_of(found, status);
}

FileText kept_text(const std::string& path, const struct stat& status) {
    const auto found = find_kept(path);
    return found == kept().end() ? FileText() : text_if_of(found, status);
}

void keep_text(const std::string& path, FileText text, const struct stat& status, bool is_telling) {
    forget_file(path);
    kept().push_back({.path = path,
                      .text = std::move(text),
                      .device = status.st_dev,
                      .inode = status.st_ino,
                      .changed = status.st_mtim,
                      .is_telling = is_telling});
}

void keep_text(const std::string& path, FileText text, Descriptor file, timespec since) {
    forget_file(path);
    kept().push_back(
        {.path = path, .text = std::move(text), .file = std::move(file), .since = since});
    if (std::ranges::count_if(kept(), &Descriptor::is_open, &Kept::file) > kMostOpen)
        kept().back().take_status();
}

timespec this_tick() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return now;
}

// File systems take the time from the kernel's clock that ticks; some keep no more of it than every
// other second.
bool is_time_telling(const struct stat& status, timespec moment) {
    constexpr time_t kCoarsest = 2;
    const timespec& changed = status.st_mtim;
    if (changed.tv_nsec == 0) return changed.tv_sec + kCoarsest < moment.tv_sec;
    return changed.tv_sec < moment.tv_sec ||
           (changed.tv_sec == moment.tv_sec && changed.tv_nsec < moment.tv_nsec);
}

bool tell_time(int fd, struct stat& status) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const timespec times[] = {now, now};
    return futimens(fd, times) == 0 && fstat(fd, &status) == 0 && now.tv_nsec != 0 &&
           status.st_mtim.tv_nsec == now.tv_nsec;
}

void doubt_files() {
    for (Kept& file : kept()) file.take_status();
    std::erase_if(kept(), [](const Kept& file) { return !file.is_telling; });
    for (Kept& file : kept()) file.is_doubted = true;
}

void forget_file(const std::string& path) {
    std::erase_if(kept(), [&](const Kept& file) { return file.path == path; });
}

void forget_files() { kept().clear(); }
