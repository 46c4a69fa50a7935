// What a preview has written, removed and emptied is there for its readers alone.
#include "base/overlay.h"
#include "root.h"

namespace {

TEST_F(Root, APreviewIsSeenByItsOwnReaders) {
    put_file("/etc/old", "old");
    put_file("/etc/log", "log");
    begin_preview();
    EXPECT_EQ(replace_file("/etc/new", "new", 0755), Written::done);
    EXPECT_EQ(remove_file("/etc/old"), Written::done);
    EXPECT_EQ(empty_file("/etc/log"), Written::done);
    EXPECT_EQ(empty_file("/etc/old"), Written::missing);
    EXPECT_EQ(set_mode("/etc/old", 0755), Written::missing);
    EXPECT_TRUE(exists("/etc/new"));
    EXPECT_FALSE(exists("/etc/old"));
    EXPECT_EQ(read_file("/etc/new"), "new");
    EXPECT_EQ(read_file("/etc/old"), std::nullopt);
    EXPECT_EQ(read_file("/etc/log"), "");
    EXPECT_EQ(remove_file("/etc/new"), Written::done);
    EXPECT_EQ(replace_file("/etc/old", "old"), Written::done);
    end_preview();
    ASSERT_EQ(foreseen_files().size(), 1U);
    EXPECT_EQ(foreseen_files().front().path, "/etc/log");
    EXPECT_EQ(content("/etc/log") + content("/etc/old") + content("/etc/new"), "logold(no file)");
}

}  // namespace
