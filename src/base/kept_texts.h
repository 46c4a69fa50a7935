// The texts of the files that a request has read or written: it reads each file once, and all its
// parts see the same content. After a command, which may have changed any of them, a file is only
// asked whether it is still the one that is known.
#pragma once

#include <sys/stat.h>
#include <time.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "base/io.h"

// The text of a file, for as long as somebody holds it; false: there is no such file.
class FileText {
public:
    FileText() = default;
    FileText(std::shared_ptr<const char[]> bytes, std::size_t size)
        : bytes_(std::move(bytes)), size_(size) {}
    explicit FileText(std::string_view copied);
    // A text that stands until the process ends.
    static FileText of_lasting(std::string_view text) {
        const std::shared_ptr<const char[]> nobodys;
        return {{nobodys, text.data()}, text.size()};
    }

    explicit operator bool() const { return bytes_ != nullptr; }
    // True for the text that was read at the same time, or written.
    [[nodiscard]] bool is(const FileText& other) const { return bytes_ == other.bytes_; }
    [[nodiscard]] std::string_view view() const { return {bytes_.get(), size_}; }

private:
    std::shared_ptr<const char[]> bytes_;
    std::size_t size_ = 0;
};

// The longest text that is kept. All settings, scripts and templates are shorter.
inline constexpr std::size_t kMostKept = 65536;

// True for a file whose text may be kept: not in a folder "tmp", where others leave what they say,
// and not what the kernel makes up as it is read, which has no size.
bool may_be_kept(std::string_view path, std::size_t size = 0);

// The kept text of a file, if it has one. The second asks no disk: `status` is what stat(2) says of
// the file now.
FileText kept_text(const std::string& path);
FileText kept_text(const std::string& path, const struct stat& status);

// Keeps the text of a file of this status. `is_telling`: whatever changes the file from now on will
// give it another time; else the text is good until the next command only.
void keep_text(const std::string& path, FileText text, const struct stat& status, bool is_telling);
// Keeps what was read from a file since a moment. Most requests never ask again whether it is still
// that file, so it stays open, unless many are, and its status is taken when they do.
void keep_text(const std::string& path, FileText text, Descriptor file, timespec since);

// Now, by the clock that files get their times from.
timespec this_tick();
// True when the file was changed so long before a moment that its time is telling.
bool is_time_telling(const struct stat& status, timespec moment);
// Gives a file that was just written the time to the nanosecond, and takes its status: a later
// change gets its time from a clock that ticks, hence another one. True when the file system keeps
// times so finely.
bool tell_time(int fd, struct stat& status);

// What is about to run may change any file.
void doubt_files();
// Forgets the text of a file, or all of them.
void forget_file(const std::string& path);
void forget_files();
