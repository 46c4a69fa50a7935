// Temporary files while they are there, and targets on another file system.
#include "base/files.h"
#include "root.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <csignal>

namespace {

constexpr char kTarget[] = "/etc/target";
constexpr char kTemporary[] = "/etc/target.new";

TEST_F(Root, TemporaryFilesAreForRootAlone) {
    put_file("/etc/victim", "whole");
    ASSERT_EQ(symlink("/etc/victim", kTemporary), 0);
    {
        Replacement out(kTarget, kTemporary, 0755);
        out.write(std::string(kMostKept + 1, 'x'));  // more than is gathered first
        EXPECT_EQ(mode_of(kTemporary), kSecretMode);
    }
    EXPECT_EQ(content(kTemporary), kNoFile);
    put_file("/etc/victim", "whole");
    ASSERT_EQ(symlink("/etc/victim", kTemporary), 0);
    EXPECT_EQ(write_anew(kTemporary, "new"), Written::done);
    EXPECT_EQ(mode_of(kTemporary), kSecretMode);
    EXPECT_EQ(content("/etc/victim"), "whole");
}

// A folder on a file system that is not the private root's, opened before that root is entered.
int shared_memory = -1;  // NOLINT: set once, before main
[[gnu::constructor(1000)]] void open_shared_memory() {
    shared_memory = open("/dev/shm", O_RDONLY | O_DIRECTORY | O_CLOEXEC);  // NOLINT: C
}

TEST_F(Root, AcrossFileSystemsACopyTakesTheTargetsPlace) {
    struct stat here {
    }, there{};
    if (stat("/tmp", &here) != 0 || fstat(shared_memory, &there) != 0 ||
        here.st_dev == there.st_dev || fchdir(shared_memory) != 0)
        GTEST_SKIP() << "there is only one file system";
    const std::string target = "quillstead-unit-" + std::to_string(getpid());
    put_file(target, "old", 0640);
    {
        Replacement out(target, "/tmp/far.tmp");
        out.write(std::string(kMostKept + 1, 'n'));  // in the temporary file already
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit full_disk = {1, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &full_disk);
        EXPECT_EQ(out.install(), Written::not_written);
        setrlimit(RLIMIT_FSIZE, &before);
    }
    const std::string none = "(no file)(no file)";
    EXPECT_EQ(content(target), "old");
    EXPECT_EQ(content("/tmp/far.tmp") + content("." + target + ".tmp"), none);
    Replacement out(target, "/tmp/far.tmp");
    out.write("new");
    EXPECT_EQ(out.install(), Written::done);
    EXPECT_EQ(content(target), "new");
    EXPECT_EQ(mode_of(target), 0640U);
    EXPECT_EQ(content("/tmp/far.tmp") + content("." + target + ".tmp"), none);
    unlink(target.c_str());
    EXPECT_EQ(chdir("/www"), 0);
}

}  // namespace
