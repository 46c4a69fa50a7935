#include "base/io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>

namespace {

bool others_may_write(const std::string& folder) {
    struct stat status {};
    if (stat(folder.c_str(), &status) != 0) return true;
    return status.st_uid != geteuid() || (status.st_mode & 022) != 0;
}

bool may_be_a_strangers(const std::string& path, const struct stat& status) {
    return path.starts_with("/tmp/") && status.st_uid != geteuid();
}

}  // namespace

bool Descriptor::reset(int fd) {
    const bool closed = fd_ < 0 || close(fd_) == 0;
    fd_ = fd;
    return closed;
}

Descriptor open_regular(const std::string& path, int flags) {
    struct stat status {};
    return open_regular(path, flags, status);
}

Descriptor open_regular(const std::string& path, int flags, off_t& size) {
    struct stat status {};
    Descriptor file = open_regular(path, flags, status);
    size = status.st_size;
    return file;
}

Descriptor open_present(const std::string& path, int flags) {
    // A pipe that somebody has put in a file's place would keep the request waiting.
    flags |= O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    Descriptor file(open(path.c_str(), flags | O_NOFOLLOW));
    if (!file.is_open() && errno == ELOOP && !others_may_write(folder_of(path)))
        file.reset(open(path.c_str(), flags));
    return file;
}

bool is_regular(const Descriptor& file, const std::string& path, struct stat& status) {
    if (fstat(file.get(), &status) != 0) return false;
    if (!S_ISREG(status.st_mode))
        errno = S_ISDIR(status.st_mode) ? EISDIR : ESPIPE;
    else if (may_be_a_strangers(path, status))
        errno = EPERM;
    else
        return true;
    return false;
}

Descriptor open_regular(const std::string& path, int flags, struct stat& status) {
    Descriptor file = open_present(path, flags);
    if (!file.is_open() || is_regular(file, path, status)) return file;
    const int reason = errno;
    file.reset();
    errno = reason;
    return file;
}

std::string behind_links(std::string path) {
    constexpr int kMostLinks = 8;
    for (int link = 0; link < kMostLinks; ++link) {
        const std::string leads_to = read_link(path);
        const std::string folder = folder_of(path);
        if (leads_to.empty() || others_may_write(folder)) break;
        path = leads_to.starts_with('/') ? leads_to : folder + leads_to;
    }
    return path;
}

std::string read_link(const std::string& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    return {target.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

bool means_missing(int error) { return error == ENOENT || error == ENOTDIR; }

ssize_t read_some(int fd, char* out, std::size_t size) {
    ssize_t got = -1;
    do got = read(fd, out, size);
    while (got < 0 && errno == EINTR);
    return got;
}

ssize_t read_at(int fd, off_t from, char* out, std::size_t size) {
    ssize_t got = -1;
    do got = pread(fd, out, size, from);
    while (got < 0 && errno == EINTR);
    return got;
}

bool write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t put = write(fd, text.data(), text.size());
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) return false;
        text.remove_prefix(static_cast<std::size_t>(put));
    }
    return true;
}

bool write_all(int fd, std::span<iovec> pieces) {
    while (!pieces.empty()) {
        const std::size_t number = std::min<std::size_t>(pieces.size(), IOV_MAX);
        const ssize_t put = writev(fd, pieces.data(), static_cast<int>(number));
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) return false;
        auto written = static_cast<std::size_t>(put);
        for (; !pieces.empty() && written >= pieces[0].iov_len; pieces = pieces.subspan(1))
            written -= pieces[0].iov_len;
        if (written > 0)
            pieces[0] = {static_cast<char*>(pieces[0].iov_base) + written,
                         pieces[0].iov_len - written};
    }
    return true;
}

std::string folder_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

std::string name_of(const std::string& path) { return path.substr(path.rfind('/') + 1); }

bool flush_folder(const std::string& folder) {
    const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return opened.is_open() && (fsync(opened.get()) == 0 || errno == EINVAL);  // not all can
}
