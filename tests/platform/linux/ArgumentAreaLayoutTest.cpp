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
    using Bytes = std::vector<std::uint8_t>;
    const std::tuple<std::string, std::string, std::optional<std::string>, Bytes> cases[] = {
        // Seven characters fill the alignment unit already: no padding, as a Mac may give.
        {"a\0"s, "/bin/ab", std::nullopt, test::argument_area(1, "/bin/ab", {"a"}, 0)},
        // An unreadable executable link leaves an empty path, padded like any other.
        {"a\0"s, "", std::nullopt, test::argument_area(1, "", {"a"}, 7)},
        // A process that rewrote its title: one string, no terminator.
        {"nginx: worker process", "/usr/sbin/nginx", "A=1",
         test::argument_area(1, "/usr/sbin/nginx", {"nginx: worker process", "A=1"}, 0)},
        // Kernel threads and zombies have an empty command line: no arguments at all.
        {"", "", std::nullopt, test::argument_area(0, "", {}, 7)},
        // An empty argument is still an argument.
        {"prog\0\0"s, "/p", std::nullopt, test::argument_area(2, "/p", {"prog", ""}, 5)},
    };
    for (const auto& [cmdline, path, environment, area] : cases) {
        EXPECT_EQ(build_argument_area(cmdline, path, environment), area) << path;
    }
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
