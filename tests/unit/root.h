// What the tests share: the private root, put back to empty folders before every test.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/files.h"

using Pairs = std::vector<std::pair<std::string, std::string>>;  // what goes in, what comes out

inline constexpr std::string_view kNoFile = "(no file)";

inline void put_file(const std::string& path, std::string_view text, mode_t mode = 0644) {
    forget_files();  // what the request before has read
    std::filesystem::remove_all(path);
    if (text == kNoFile) return;
    std::ofstream(path, std::ios::binary) << text;
    chmod(path.c_str(), mode);
}

inline std::string content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : std::string(kNoFile);
}

inline mode_t mode_of(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

class Root : public testing::Test {
protected:
    void SetUp() override {
        for (const char* top : {"/etc", "/tmp", "/usr", "/www"})
            for (const auto& entry : std::filesystem::directory_iterator(top))
                std::filesystem::remove_all(entry);
        forget_files();
        std::filesystem::create_directories("/etc/ppp");
    }
};
