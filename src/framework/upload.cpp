#include "framework/upload.h"

#include <dirent.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <vector>

#include "base/io.h"

namespace {

constexpr char kFolder[] = "/tmp/";
constexpr std::string_view kName = "upload.";
constexpr std::string_view kRandom = "XXXXXX";
constexpr std::time_t kLongestRequest = 3600;  // seconds, with room to spare

std::vector<std::string>& stored() {
    static std::vector<std::string> paths;
    return paths;
}

void remove_stored() {
    for (const std::string& path : stored()) unlink(path.c_str());
}

bool is_abandoned(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           status.st_uid == geteuid() && status.st_mtime < std::time(nullptr) - kLongestRequest;
}

void remove_abandoned() {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(kFolder), closedir);
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (name.size() != kName.size() + kRandom.size() || !name.starts_with(kName)) continue;
        const std::string path = std::string(kFolder).append(name);
        if (is_abandoned(path)) unlink(path.c_str());
    }
}

// Where a path really leads; nothing when it leads nowhere.
std::optional<std::string> resolved(const char* path) {
    std::array<char, PATH_MAX> real;
    if (!realpath(path, real.data())) return std::nullopt;
    return real.data();
}

bool lies_below(std::string_view path, const char* folder) {
    const std::optional<std::string> real = resolved(folder);
    return real && path.starts_with(*real + "/");
}

}  // namespace

std::optional<std::string> store_upload(std::string_view content) {
    std::string path = std::string(kFolder).append(kName).append(kRandom);
    Descriptor file(mkstemp(path.data()));  // mode 0600, new, not through a link
    if (!file.is_open()) return std::nullopt;
    if (stored().empty()) {
        std::atexit(remove_stored);
        remove_abandoned();
    }
    stored().push_back(path);
    const bool written = write_all(file.get(), content);
    if (!file.reset() || !written) return std::nullopt;
    return path;
}

std::optional<std::string> usable_upload(const char* path) {
    struct stat status {};
    if (!path || lstat(path, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
    std::optional<std::string> real = resolved(path);
    if (!real) return std::nullopt;
    for (const char* folder : {"/tmp", "/var/tmp"})
        if (lies_below(*real, folder)) return real;
    return std::nullopt;
}

bool is_own_upload(const std::string& path) { return std::ranges::count(stored(), path) > 0; }
