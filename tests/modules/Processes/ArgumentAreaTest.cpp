#include "modules/Processes/ArgumentArea.h"

#include <gtest/gtest.h>

#include "support/CapturedLog.h"
#include "support/FakeMachine.h"

namespace {

using modules::command_line_from_argument_area;
using modules::executable_path_from_argument_area;
using test::argument_area;
using Bytes = std::vector<std::uint8_t>;

TEST(ProcessesArgumentArea, TheArgumentsJoinedWithBlanksAndTheHeaderPath) {
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
    };
    for (const auto& [what, area, command, path] : cases) {
        SCOPED_TRACE(what);
        EXPECT_EQ(command_line_from_argument_area(area, 1), command);
        EXPECT_EQ(executable_path_from_argument_area(area), path);
    }
}

TEST(ProcessesArgumentArea, EveryFailureIsNoneAndLogsItsReasonWithThePid) {
    // The count and a path of "/bin/x" with its NUL; rest follows.
    auto after_path = [](std::string_view rest) {
        Bytes area = argument_area(2, "/bin/x", {}, 0);
        area.insert(area.end(), rest.begin(), rest.end());
        return area;
    };
    Bytes no_path_end = argument_area(1, "/bin/to", {}, 0);
    no_path_end.pop_back();
    // The header path stays readable whenever its terminator is there.
    const std::tuple<const char*, Bytes, const char*, const char*> cases[] = {
        {"nothing at all", {}, "End reached 1", ""},
        {"the count alone", {1, 0, 0, 0}, "End reached 1", ""},
        {"a path without its NUL", no_path_end, "End reached 1", ""},
        {"path and padding only", after_path(std::string_view("\0\0", 2)), "End reached 2",
         "/bin/x"},
        {"argument count 0", argument_area(0, "/bin/x", {"/bin/x"}), "Unterminated or empty string",
         "/bin/x"},
        {"no terminator", after_path("abc"), "Unterminated or empty string", "/bin/x"},
        {"not UTF-8", argument_area(1, "/bin/x", {"\xff\xfe"}), "Command line is not UTF-8",
         "/bin/x"},
    };
    for (const auto& [what, area, message, path] : cases) {
        SCOPED_TRACE(what);
        test::CapturedLog log;
        EXPECT_EQ(command_line_from_argument_area(area, 4242), "None");
        EXPECT_TRUE(log.contains(std::string(message) + "...failed for pid 4242!!")) << log.text();
        EXPECT_EQ(executable_path_from_argument_area(area), path);
    }
}

}  // namespace
