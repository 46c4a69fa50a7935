// Descriptors: a signal does not cut a call short, and what is opened by its name is what the name
// promises.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

// A descriptor that is closed at the end of its life.
class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        reset(other.release());
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] bool is_open() const { return fd_ >= 0; }
    [[nodiscard]] int get() const { return fd_; }
    // Closes it; false when that failed.
    bool reset(int fd = -1);
    // Gives it up unclosed.
    int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }

private:
    int fd_;
};

// Opens what exists under a name, without waiting for anybody. In a folder that other users may
// write, no link is followed: a stranger may have put it there. errno tells why it is not open.
Descriptor open_present(const std::string& path, int flags);
// True for a regular file, which in /tmp must be the program's own user's. `status`: all that
// fstat(2) says of it. errno tells why it is none.
bool is_regular(const Descriptor& file, const std::string& path, struct stat& status);
// Opens a regular file that exists: both of them.
Descriptor open_regular(const std::string& path, int flags);
// The same, and how many bytes the file has now; 0 also for one that the kernel makes up as it is
// read.
Descriptor open_regular(const std::string& path, int flags, off_t& size);
// The same, and all that fstat(2) says of the file.
Descriptor open_regular(const std::string& path, int flags, struct stat& status);

// Where the file itself lies: behind a link, and the links behind that, as far as each lies in a
// folder that only the program's own user may write. Firmware images keep files on flash so.
std::string behind_links(std::string path);

// Where a symbolic link leads, as it stands; empty when there is none.
std::string read_link(const std::string& path);

// True when `error` says that there is no such file.
bool means_missing(int error);

// read(2), repeated after a signal: the number of bytes, 0 at the end, -1 on an error.
ssize_t read_some(int fd, char* out, std::size_t size);
// pread(2) in the same way: from an octet of the file on.
ssize_t read_at(int fd, off_t from, char* out, std::size_t size);

// Writes all of the text; false on an error.
[[nodiscard]] bool write_all(int fd, std::string_view text);
// The same for a text in pieces, all of them at once; what it is handed is used up.
[[nodiscard]] bool write_all(int fd, std::span<iovec> pieces);

// The path's folder with its slash ("./" for a bare name), and the rest.
std::string folder_of(const std::string& path);
std::string name_of(const std::string& path);

// Flushes a folder, and with it the names in it. False on an error; true where folders cannot be
// flushed.
[[nodiscard]] bool flush_folder(const std::string& folder);
