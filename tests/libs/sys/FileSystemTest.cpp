#include "libs/sys/FileSystem.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/TempDir.h"

namespace {

class RootedFileSystem : public ::testing::Test {
protected:
    RootedFileSystem() {
        root.write("Library/real/update.txt", "42");
        root.symlink("Library/engines", "/Library/real");
        root.symlink("Library/alias", "engines");  // relative, through another link
        root.write("bin/tool", "abc");
        root.symlink("bin/link", "tool");
        root.symlink("bin/dangling", "/nowhere");
        // /etc/passwd exists on the host; none of these may reach it.
        root.symlink("escape", "../../../../../../etc");
        root.symlink("absolute", "/etc");
        root.symlink("a", "/b");
        root.symlink("b", "/a");
    }

    test::TempDir root;
    sys::FileSystem files{root.path()};
};

TEST_F(RootedFileSystem, LinksAreFollowedOnlyWithinTheRootAndLoopsEnd) {
    EXPECT_EQ(files.read_file("/Library/alias/update.txt"), "42");
    EXPECT_EQ(files.read_file("Library/real/update.txt"), "42");  // relative: from the root
    EXPECT_EQ(files.host_path("/Library/engines/update.txt"),
              root.path() / "Library/real/update.txt");
    using namespace std::string_view_literals;
    for (std::string_view path : {"/bin/dangling"sv, "/escape/passwd"sv, "/absolute/passwd"sv,
                                  "/../../../etc/passwd"sv, "/bin\0/x"sv, "/a"sv})
        EXPECT_FALSE(files.exists(path)) << path;
    EXPECT_FALSE(files.host_path("/a"));
}

// Attributes describe a final link itself; the checks follow it. Only regular files within the
// size bound are read (devices and FIFOs fed to the MD5 digest are tested there, under a hang
// guard). Listings are sorted by byte.
TEST_F(RootedFileSystem, ItemsAreTakenForWhatTheyAre) {
    EXPECT_EQ(files.attributes("/bin/link")->type, sys::FileType::Symlink);
    EXPECT_EQ(files.attributes("/bin/tool")->size, 3u);
    EXPECT_EQ(files.attributes("/a")->type, sys::FileType::Symlink);  // a loop is still there
    EXPECT_EQ(files.link_destination("/a"), "/b");
    EXPECT_TRUE(files.is_readable_file("/bin/link"));
    EXPECT_FALSE(files.is_readable_file("/bin"));
    ASSERT_EQ(::mkfifo((root / "fifo").c_str(), 0644), 0);
    EXPECT_FALSE(files.is_readable_file("/fifo"));
    EXPECT_FALSE(files.open_regular("/fifo"));
    std::filesystem::resize_file(root.write("big", ""), sys::FileSystem::kMaxWholeFileRead + 1);
    EXPECT_FALSE(files.read_file("/big"));
    EXPECT_TRUE(files.open_regular("/big")) << "streaming readers may still take it";
    root.write("bin/Z", "");
    EXPECT_EQ(files.list_directory("/bin"),
              (std::vector<std::string>{"Z", "dangling", "link", "tool"}));
    EXPECT_FALSE(files.list_directory("/bin/tool"));
}

}  // namespace
