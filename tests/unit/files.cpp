// Temporary files while they are there, and targets on another file system.
#include "base/replacement.h"
#include "root.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <chrono>
#include <csignal>

namespace {

// More than is gathered before it is written.
const std::string kMuch(kMostKept + 1, 'n');  // NOLINT: made before main

TEST_F(Root, TemporaryFilesAreForRootAlone) {
    const std::string temporary = "/etc/target.new";
    put_file("/etc/victim", "whole");
    ASSERT_EQ(symlink("/etc/victim", temporary.c_str()), 0);
    {
        Replacement out("/etc/target", temporary, 0755);
        out.write(kMuch);
        EXPECT_EQ(mode_of(temporary), kSecretMode);
    }
    EXPECT_EQ(content(temporary), kNoFile);
    ASSERT_EQ(symlink("/etc/victim", temporary.c_str()), 0);
    EXPECT_EQ(write_anew(temporary, "new"), Written::done);
    EXPECT_EQ(mode_of(temporary), kSecretMode);
    EXPECT_EQ(content("/etc/victim"), "whole");
}

// In place and to the same size, by a command, or by somebody else before there is one.
TEST_F(Root, AFileThatIsChangedWhileItIsKnownIsReadAnew) {
    const std::string path = "/etc/known";
    const auto rewrite = [&](bool does) {
        if (does) std::ofstream(path) << "two";
    };
    for (const bool is_new : {false, true})
        for (const bool before : {false, true})
            for (const bool after : {false, true}) {
                put_file(path, "one");
                if (!is_new)
                    std::filesystem::last_write_time(
                        path,
                        std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
                const FileText first = file_text(path);
                rewrite(before);
                EXPECT_EQ(file_text(path).view(), "one");  // a request sees one content
                doubt_files();
                rewrite(after);
                const FileText second = file_text(path);
                EXPECT_EQ(second.view(), before || after ? "two" : "one");
                if (!is_new && !before && !after) EXPECT_TRUE(second.is(first));
            }
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
    rlimit room{};
    getrlimit(RLIMIT_FSIZE, &room);
    const rlimit none = {1, room.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    for (const bool fits : {false, true}) {
        {
            Replacement out(target, "/tmp/far.tmp");
            out.write(kMuch);
            setrlimit(RLIMIT_FSIZE, fits ? &room : &none);
            EXPECT_EQ(out.install(), fits ? Written::done : Written::not_written);
            setrlimit(RLIMIT_FSIZE, &room);
        }
        EXPECT_EQ(content(target), fits ? kMuch : "old");
        EXPECT_EQ(mode_of(target), 0640U);
        EXPECT_EQ(content("/tmp/far.tmp") + content("." + target + ".tmp"), "(no file)(no file)");
    }
    unlink(target.c_str());
    EXPECT_EQ(chdir("/www"), 0);
}

}  // namespace
