#include "libs/sys/FileSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/TempDir.h"

namespace {

class RootedFileSystem : public ::testing::Test {
protected:
    test::TempDir root;
    sys::FileSystem files{root.path()};
};

TEST_F(RootedFileSystem, AbsoluteLinksStartAgainAtTheRoot) {
    root.write("Library/real/update.txt", "42");
    root.symlink("Library/engines", "/Library/real");
    root.symlink("Library/alias", "engines");  // relative, through another link
    EXPECT_EQ(files.read_file("/Library/engines/update.txt"), "42");
    EXPECT_EQ(files.read_file("/Library/alias/update.txt"), "42");
    EXPECT_EQ(files.host_path("/Library/engines/update.txt"),
              root.path() / "Library/real/update.txt");
    // A relative path is taken from the root.
    EXPECT_EQ(files.read_file("Library/real/update.txt"), "42");
}

TEST_F(RootedFileSystem, NothingEverLeadsOutOfTheRoot) {
    // /etc/hostname or /etc/passwd exist on the host; none of these may reach them.
    root.symlink("escape", "../../../../../../etc");
    root.symlink("absolute", "/etc");
    EXPECT_FALSE(files.exists("/escape/passwd"));
    EXPECT_FALSE(files.exists("/absolute/passwd"));
    EXPECT_FALSE(files.exists("/../../../../etc/passwd"));
    EXPECT_FALSE(files.read_file("/../etc/passwd").has_value());
}

TEST_F(RootedFileSystem, LinkLoopsEndInsteadOfSpinning) {
    root.symlink("a", "/b");
    root.symlink("b", "/a");
    root.symlink("self", "self");
    EXPECT_FALSE(files.exists("/a"));
    EXPECT_FALSE(files.exists("/self/x"));
    EXPECT_FALSE(files.host_path("/a").has_value());
    // The link itself is still there to look at.
    ASSERT_TRUE(files.attributes("/a"));
    EXPECT_EQ(files.attributes("/a")->type, sys::FileType::Symlink);
    EXPECT_EQ(files.link_destination("/a"), "/b");
}

TEST_F(RootedFileSystem, AttributesDoNotFollowTheFinalLinkButExistenceDoes) {
    root.write("bin/tool", "abc");
    root.symlink("bin/link", "tool");
    root.symlink("bin/dangling", "/nowhere");
    EXPECT_EQ(files.attributes("/bin/link")->type, sys::FileType::Symlink);
    EXPECT_EQ(files.attributes("/bin/tool")->size, 3u);
    EXPECT_EQ(files.link_destination("/bin/link"), "tool");
    EXPECT_FALSE(files.link_destination("/bin/tool").has_value());
    EXPECT_TRUE(files.exists("/bin/link"));
    EXPECT_FALSE(files.exists("/bin/dangling"));
    EXPECT_TRUE(files.is_readable_file("/bin/link"));
    EXPECT_TRUE(files.is_directory("/bin"));
    EXPECT_FALSE(files.is_readable_file("/bin"));
}

TEST_F(RootedFileSystem, OnlyRegularFilesAreReadAndNothingBlocks) {
    ASSERT_EQ(::mkfifo((root / "fifo").c_str(), 0644), 0);
    root.symlink("zero", "/dev/zero");  // re-rooted: nothing there
    EXPECT_FALSE(files.read_file("/fifo").has_value());
    EXPECT_FALSE(files.open_regular("/fifo"));
    EXPECT_FALSE(files.is_readable_file("/fifo"));
    EXPECT_FALSE(files.read_file("/zero").has_value());

    sys::FileSystem live("/");
    EXPECT_FALSE(live.read_file("/dev/zero").has_value());
    EXPECT_FALSE(live.open_regular((root / "fifo").string()));
}

TEST_F(RootedFileSystem, OversizedFilesAreRefusedWhole) {
    auto big = root.write("big", "");
    std::filesystem::resize_file(big, sys::FileSystem::kMaxWholeFileRead + 1);
    EXPECT_FALSE(files.read_file("/big").has_value());
    EXPECT_TRUE(files.open_regular("/big")) << "streaming readers may still take it";
}

TEST_F(RootedFileSystem, ListingIsSortedAndSkipsDots) {
    root.write("d/b", "");
    root.write("d/a", "");
    root.write("d/C", "");
    EXPECT_EQ(files.list_directory("/d"), (std::vector<std::string>{"C", "a", "b"}));
    EXPECT_FALSE(files.list_directory("/missing").has_value());
    EXPECT_FALSE(files.list_directory("/d/a").has_value());
}

TEST_F(RootedFileSystem, CopiesKeepModeAndNeverOverwrite) {
    auto source = root.write("bin/tool", "payload");
    std::filesystem::permissions(source, std::filesystem::perms(0750));
    test::TempDir out;
    ASSERT_TRUE(files.copy_file_to("/bin/tool", out / "copy"));
    EXPECT_EQ(test::read_text(out / "copy"), "payload");
    struct stat st {};
    ASSERT_EQ(::stat((out / "copy").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0750u);
    EXPECT_FALSE(files.copy_file_to("/bin/tool", out / "copy"));
    EXPECT_FALSE(files.copy_file_to("/bin/missing", out / "other"));
    EXPECT_FALSE(std::filesystem::exists(out / "other"));
}

TEST(HostFileSystem, CreatesWritesAndRemoves) {
    test::TempDir dir;
    const sys::FileSystem& host = sys::FileSystem::host();
    std::string folder = (dir / "out").string();
    EXPECT_TRUE(host.create_directory(folder));
    EXPECT_FALSE(host.create_directory(folder)) << "already there";
    EXPECT_FALSE(host.create_directory((dir / "x/y").string())) << "no intermediate folders";
    EXPECT_TRUE(host.create_file(folder + "/empty"));
    EXPECT_EQ(host.read_file(folder + "/empty"), "");
    EXPECT_TRUE(host.write_file_atomically(folder + "/data", "new"));
    EXPECT_EQ(host.read_file(folder + "/data"), "new");
    EXPECT_EQ(host.list_directory(folder), (std::vector<std::string>{"data", "empty"}));
    EXPECT_TRUE(host.remove_all(folder));
    EXPECT_FALSE(host.exists(folder));
}

}  // namespace
