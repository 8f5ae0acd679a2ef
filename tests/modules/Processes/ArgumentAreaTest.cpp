#include "modules/Processes/ArgumentArea.h"

#include <gtest/gtest.h>

#include "support/CapturedLog.h"
#include "support/FakeMachine.h"

namespace {

using test::argument_area;
using Bytes = std::vector<std::uint8_t>;

// The arguments joined with blanks, or "None" with the reason logged with the pid; and the
// header's path, readable whenever its terminator is there.
TEST(ProcessesArgumentArea, CommandLineAndHeaderPath) {
    Bytes path_and_padding = argument_area(2, "/bin/x", {}, 0);
    Bytes unterminated = path_and_padding;
    path_and_padding.insert(path_and_padding.end(), 2, 0);
    unterminated.insert(unterminated.end(), {'a', 'b', 'c'});
    Bytes no_path_end = argument_area(1, "/bin/to", {}, 0);
    no_path_end.pop_back();
    const std::tuple<const char*, Bytes, const char*, const char*> cases[] = {
        {"environment after the arguments",
         argument_area(3, "/usr/bin/tool", {"tool", "-v", "two words", "HOME=/root", "P=/bin"}, 7),
         "tool -v two words", "/usr/bin/tool"},
        {"no padding", argument_area(1, "/bin/one", {"/bin/one", "ENV=1"}, 0), "/bin/one",
         "/bin/one"},
        // Four arguments announced, two present: the walk stops at the end of the data.
        {"cut short", argument_area(4, "/bin/x", {"/bin/x", "-a"}), "/bin/x -a", "/bin/x"},
        // The empty string vanishes among the padding NULs, and the count then reaches one
        // string further, into the environment.
        {"empty first argument", argument_area(2, "/bin/x", {"", "-v", "ENV=1", "MORE=2"}),
         "-v ENV=1", "/bin/x"},
        {"unreadable executable", argument_area(1, "", {"sshd: user"}), "sshd: user", ""},
        {"path not UTF-8", argument_area(1, "/bin/\xff", {"x"}), "x", ""},
        {"nothing at all", {}, "None", ""},
        {"the count alone", {1, 0, 0, 0}, "None", ""},
        {"a path without its NUL", no_path_end, "None", ""},
        {"path and padding only", path_and_padding, "None", "/bin/x"},
        {"argument count 0", argument_area(0, "/bin/x", {"/bin/x"}), "None", "/bin/x"},
        {"no terminator", unterminated, "None", "/bin/x"},
        {"not UTF-8", argument_area(1, "/bin/x", {"\xff\xfe"}), "None", "/bin/x"},
    };
    for (const auto& [what, area, command, path] : cases) {
        SCOPED_TRACE(what);
        test::CapturedLog log;
        EXPECT_EQ(modules::command_line_from_argument_area(area, 4242), command);
        EXPECT_EQ(log.contains("failed for pid 4242!!"), command == std::string("None"));
        EXPECT_EQ(modules::executable_path_from_argument_area(area), path);
    }
}

}  // namespace
