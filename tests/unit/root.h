// What the tests share: the private root, put back to empty folders before every test.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using Pairs = std::vector<std::pair<std::string, std::string>>;  // what goes in, what comes out

inline constexpr std::string_view kNoFile = "(no file)";

inline void put_file(const std::string& path, std::string_view text, mode_t mode = 0644) {
    std::filesystem::remove_all(path);
    if (text == kNoFile) return;
    std::ofstream(path, std::ios::binary) << text;
    chmod(path.c_str(), mode);
}

inline void put_folder(const std::string& path) {
    std::filesystem::remove_all(path);
    std::filesystem::create_directory(path);
}

inline std::string content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : std::string(kNoFile);
}

inline mode_t mode_of(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

// Gives `from` each first text, calls `run`, and finds in `to`, which had mode 0640, the second.
inline void expect_files(const std::function<int()>& run, const std::string& from,
                         const std::string& to, const Pairs& cases, mode_t mode = 0640) {
    for (const auto& [before, after] : cases) {
        SCOPED_TRACE(before);
        put_file(to, "old", 0640);
        put_file(from, before, 0640);
        EXPECT_EQ(run(), 0);
        EXPECT_EQ(content(to), after);
        EXPECT_EQ(mode_of(to), mode);
    }
}

class Root : public testing::Test {
protected:
    void SetUp() override {
        for (const char* top : {"/etc", "/sbin", "/tmp", "/usr", "/www"}) put_folder(top);
        for (const char* folder : {"/etc/ppp", "/etc/rc.d", "/etc/sysconfig/network-scripts",
                                   "/usr/lib/diald", "/usr/local/squid/etc"})
            std::filesystem::create_directories(folder);
        ASSERT_EQ(chdir("/www"), 0);
        setenv("PATH", "/sbin", 1);
    }
};
