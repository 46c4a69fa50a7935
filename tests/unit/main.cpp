// The code under test names the appliance's files by their absolute paths. So the tests run in a
// child whose root is an empty private folder, and the parent, which stays outside, takes that
// folder away again.

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

// Inside the root there is no /proc to find leaks with and nothing to name addresses with.
extern "C" const char* __asan_default_options();  // NOLINT: the sanitizer's own name
extern "C" const char* __asan_default_options() { return "detect_leaks=0:symbolize=0"; }

namespace {

namespace fs = std::filesystem;

constexpr std::array kFolders = {"bin", "dev", "www"};  // a test makes what else it needs

constexpr int kNoRoot = 125;  // the private root could not be made or entered

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    _exit(kNoRoot);
}

void write_text(const char* path, const std::string& text) {
    std::ofstream file(path);
    if (!(file << text << std::flush)) fail(path);
}

// An ordinary user becomes root of a namespace of its own, which may change its root folder.
void become_root() {
    const uid_t user = getuid();
    const gid_t group = getgid();
    if (user == 0) return;
    if (unshare(CLONE_NEWUSER) != 0) fail("no user namespace");
    write_text("/proc/self/setgroups", "deny");
    write_text("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    write_text("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

void make_root(const fs::path& root) {
    for (const char* folder : kFolders) fs::create_directories(root / folder);
    fs::copy_file("/bin/bash-static", root / "bin/sh");
    const fs::path null = root / "dev/null";
    if (mknod(null.c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0) std::ofstream{null};
}

int run_tests(const char* root) {
    become_root();
    if (chroot(root) != 0 || chdir("/www") != 0) fail(root);
    umask(022);
    if (testing::UnitTest::GetInstance()->total_test_count() == 0) {
        std::fputs("no test was linked in\n", stderr);
        return EXIT_FAILURE;
    }
    return RUN_ALL_TESTS();
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    std::string root = "/tmp/quillstead-unit-XXXXXX";
    if (mkdtemp(root.data()) == nullptr) fail("mkdtemp");
    make_root(root);

    const pid_t child = fork();
    if (child < 0) fail("fork");
    if (child == 0) std::exit(run_tests(root.c_str()));

    int status = 0;
    if (waitpid(child, &status, 0) != child) fail("waitpid");
    fs::remove_all(root);
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    std::fprintf(stderr, "ended by signal %d\n", WTERMSIG(status));
    return EXIT_FAILURE;
}
