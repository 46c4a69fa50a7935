#include "framework/upload.h"

#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <vector>

namespace {

constexpr char kPattern[] = "/tmp/upload.XXXXXX";

std::vector<std::string>& stored() {
    static std::vector<std::string> paths;
    return paths;
}

void remove_stored() {
    for (const std::string& path : stored()) unlink(path.c_str());
}

bool write_all(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t put = write(fd, content.data(), content.size());
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) return false;
        content.remove_prefix(static_cast<std::size_t>(put));
    }
    return true;
}

// Where a path really leads; nothing when it leads nowhere.
std::optional<std::string> resolved(const char* path) {
    std::array<char, PATH_MAX> real;
    if (!realpath(path, real.data())) return std::nullopt;
    return real.data();
}

bool lies_below(std::string_view path, const char* folder) {
    const std::optional<std::string> real = resolved(folder);
    // A program that runs in "/" has no folder of its own.
    return real && *real != "/" && path.starts_with(*real + "/");
}

}  // namespace

std::optional<std::string> store_upload(std::string_view content) {
    std::string path = kPattern;
    const int fd = mkstemp(path.data());  // mode 0600, new, not through a link
    if (fd < 0) return std::nullopt;
    if (stored().empty()) std::atexit(remove_stored);
    stored().push_back(path);
    const bool written = write_all(fd, content);
    if (close(fd) != 0 || !written) return std::nullopt;
    return path;
}

std::optional<std::string> usable_upload(const char* path) {
    struct stat status {};
    if (!path || lstat(path, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    std::optional<std::string> real = resolved(path);
    if (!real) return std::nullopt;
    for (const char* folder : {"/tmp", "/var/tmp", "."})
        if (lies_below(*real, folder)) return real;
    return std::nullopt;
}
