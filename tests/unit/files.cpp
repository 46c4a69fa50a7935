// Reading in pieces, and replacing a file without a moment in which it is not whole.
#include "framework/files.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <csignal>

#include "root.h"

namespace {

constexpr char kTarget[] = "/etc/target";
constexpr char kTemporary[] = "/etc/target.new";

// Runs `work` while no file can grow over `bytes`.
void with_full_disk(rlim_t bytes, const std::function<void()>& work) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit = {bytes, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    work();
    setrlimit(RLIMIT_FSIZE, &before);
}

TEST_F(Root, LinesComeInPieces) {
    put_file(kTarget, "abcd\nab\n\nabcdefgh");
    for (const auto& [limit, expected] : Pairs{{"99", "abcd\n|ab\n|\n|abcdefgh|"},
                                               {"5", "abcd\n|ab\n|\n|abcde|fgh|"},
                                               {"4", "abcd|\n|ab\n|\n|abcd|efgh|"}}) {
        LineReader in(kTarget, std::stoul(limit));
        std::string pieces;
        while (in.next()) pieces += in.piece() + "|";
        EXPECT_EQ(pieces, expected);
        EXPECT_FALSE(in.failed());
    }
    EXPECT_EQ(read_first_line(kTarget, 3), "abc");
    EXPECT_EQ(read_first_line(kTarget, 9), "abcd");
    EXPECT_EQ(read_first_line("/etc/missing", 9), std::nullopt);
    LineReader folder("/etc");
    EXPECT_FALSE(folder.next());
    EXPECT_TRUE(folder.failed());
}

TEST_F(Root, TemporaryFilesAreForRootAlone) {
    put_file("/etc/victim", "whole");
    ASSERT_EQ(symlink("/etc/victim", kTemporary), 0);
    {
        Replacement out(kTarget, kTemporary, 0755);
        EXPECT_EQ(mode_of(kTemporary), kSecretMode);
    }
    EXPECT_EQ(content(kTemporary), kNoFile);
    const ScratchFile scratch(kTemporary);
    EXPECT_TRUE(scratch.ready());
    EXPECT_EQ(mode_of(kTemporary), kSecretMode);
    EXPECT_EQ(content("/etc/victim"), "whole");
}

// Opened while it could still be seen: a file system other than the private root's.
const int kSharedMemory = open("/dev/shm", O_RDONLY | O_DIRECTORY | O_CLOEXEC);  // NOLINT: C

TEST_F(Root, AcrossFileSystemsACopyTakesTheTargetsPlace) {
    struct stat here {
    }, there{};
    if (stat("/tmp", &here) != 0 || fstat(kSharedMemory, &there) != 0 ||
        here.st_dev == there.st_dev || fchdir(kSharedMemory) != 0)
        GTEST_SKIP() << "there is only one file system";
    const std::string target = "quillstead-unit-" + std::to_string(getpid());
    put_file(target, "old", 0640);
    {
        Replacement out(target, "/tmp/far.tmp");
        out.write("new");
        ASSERT_TRUE(out.finish());
        with_full_disk(1, [&] { EXPECT_EQ(out.install(), Replaced::not_written); });
    }
    const std::string none = "(no file)(no file)";
    EXPECT_EQ(content(target), "old");
    EXPECT_EQ(content("/tmp/far.tmp") + content("." + target + ".tmp"), none);
    Replacement out(target, "/tmp/far.tmp");
    out.write("new");
    EXPECT_EQ(out.install(), Replaced::done);
    EXPECT_EQ(content(target), "new");
    EXPECT_EQ(mode_of(target), 0640U);
    EXPECT_EQ(content("/tmp/far.tmp") + content("." + target + ".tmp"), none);
    unlink(target.c_str());
}

}  // namespace
