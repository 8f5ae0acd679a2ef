#include "platform/linux/ArgumentAreaLayout.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "modules/Processes/ArgumentArea.h"
#include "platform/linux/LinuxLiveSystem.h"
#include "support/FakeMachine.h"
#include "support/SpawnedChild.h"
#include "support/TempDir.h"

namespace platform::linux_host {
namespace {

using namespace std::string_literals;

TEST(LinuxHostArgumentArea, ArgumentsThenEnvironmentAfterAlignedPath) {
    // "/bin/x" and its NUL are 7 bytes: one byte of padding reaches the 8-byte alignment.
    EXPECT_EQ(
        build_argument_area("x\0-v\0two words\0"s, "/bin/x", "HOME=/root\0LANG=C\0"s),
        test::argument_area(3, "/bin/x", {"x", "-v", "two words", "HOME=/root", "LANG=C"}, 1));
    // Seven characters fill the alignment unit already: no padding at all, as a Mac may give.
    EXPECT_EQ(build_argument_area("a\0"s, "/bin/ab", std::nullopt),
              test::argument_area(1, "/bin/ab", {"a"}, 0));
    // An unreadable executable link leaves an empty path, padded like any other.
    EXPECT_EQ(build_argument_area("a\0"s, "", std::nullopt), test::argument_area(1, "", {"a"}, 7));
}

TEST(LinuxHostArgumentArea, UnusualCommandLines) {
    // A process that rewrote its title: one string, no terminator.
    EXPECT_EQ(build_argument_area("nginx: worker process", "/usr/sbin/nginx", "A=1"),
              test::argument_area(1, "/usr/sbin/nginx", {"nginx: worker process", "A=1"}, 0));
    // Kernel threads and zombies have an empty command line: no arguments at all.
    EXPECT_EQ(build_argument_area("", "", std::nullopt), test::argument_area(0, "", {}, 7));
    // An empty argument is still an argument.
    EXPECT_EQ(build_argument_area("prog\0\0"s, "/p", std::nullopt),
              test::argument_area(2, "/p", {"prog", ""}, 5));
}

// The kernel marks the executable link of a removed program " (deleted)"; the area carries the
// path as the program was started from.
TEST(LinuxHostArgumentArea, RemovedExecutableKeepsItsPlainPath) {
    test::TempDir dir;
    const std::filesystem::path program = dir.path() / "removed sleep";
    std::filesystem::copy_file("/bin/sleep", program);
    test::SpawnedChild child(program, {"sleep", "300"});
    ASSERT_GT(child.pid(), 0);
    const std::string started_from = std::filesystem::canonical(program).string();
    std::filesystem::remove(program);

    LinuxLiveSystem live;
    std::vector<std::uint8_t> buffer(1 << 16);
    size_t size = buffer.size();
    ASSERT_EQ(live.query_argument_area(child.pid(), buffer, &size), 0);
    buffer.resize(size);
    EXPECT_EQ(modules::executable_path_from_argument_area(buffer), started_from);
}

}  // namespace
}  // namespace platform::linux_host
