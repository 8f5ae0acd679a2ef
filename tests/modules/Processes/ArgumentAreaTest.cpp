#include "modules/Processes/ArgumentArea.h"

#include <gtest/gtest.h>

#include "support/CapturedLog.h"
#include "support/FakeMachine.h"

namespace {

using modules::command_line_from_argument_area;
using Bytes = std::vector<std::uint8_t>;

Bytes bytes_of(std::int32_t argc, std::string_view rest) {
    Bytes area = test::argument_area(argc, "", {}, 0);
    area.pop_back();  // argument_area ends the (empty) path with a NUL; rest brings its own
    area.insert(area.end(), rest.begin(), rest.end());
    return area;
}

TEST(ProcessesArgumentArea, JoinsTheArgumentsAndLeavesTheEnvironmentOut) {
    Bytes area = test::argument_area(3, "/usr/bin/tool",
                                     {"tool", "-v", "two words", "HOME=/var/root", "PATH=/bin"}, 7);
    EXPECT_EQ(command_line_from_argument_area(area, 1), "tool -v two words");

    area = test::argument_area(1, "/bin/one", {"/bin/one", "ENV=1"}, 0);
    EXPECT_EQ(command_line_from_argument_area(area, 1), "/bin/one");
}

TEST(ProcessesArgumentArea, AnAreaCutShortKeepsTheArgumentsItHolds) {
    // Four arguments announced, two present: the walk stops at the end of the data.
    Bytes area = test::argument_area(4, "/bin/x", {"/bin/x", "-a"});
    EXPECT_EQ(command_line_from_argument_area(area, 1), "/bin/x -a");
}

TEST(ProcessesArgumentArea, AnEmptyFirstArgumentIsTakenForPadding) {
    // The empty string vanishes among the padding NULs, and the count then reaches one string
    // further, into the environment.
    Bytes area = test::argument_area(2, "/bin/x", {"", "-v", "ENV=1", "MORE=2"});
    EXPECT_EQ(command_line_from_argument_area(area, 1), "-v ENV=1");
}

TEST(ProcessesArgumentArea, EveryFailureIsNoneAndLogsItsReasonWithThePid) {
    struct Case {
        const char* what;
        Bytes area;
        const char* message;
    };
    const Case cases[] = {
        {"nothing at all", {}, "End reached 1...failed for pid 4242!!"},
        {"the count alone", bytes_of(1, ""), "End reached 1...failed for pid 4242!!"},
        {"a path without its NUL", bytes_of(1, "/bin/to"), "End reached 1...failed for pid 4242!!"},
        {"path and padding only", bytes_of(1, std::string_view("/bin/x\0\0\0", 9)),
         "End reached 2...failed for pid 4242!!"},
        {"argument count 0", test::argument_area(0, "/bin/x", {"/bin/x"}),
         "Unterminated or empty string...failed for pid 4242!!"},
        {"negative argument count", test::argument_area(-3, "/bin/x", {"/bin/x"}),
         "Unterminated or empty string...failed for pid 4242!!"},
        {"an unterminated argument", bytes_of(2, std::string_view("/bin/x\0\0abc", 11)),
         "Unterminated or empty string...failed for pid 4242!!"},
        {"bytes that are not UTF-8", test::argument_area(1, "/bin/x", {"\xff\xfe"}),
         "Command line is not UTF-8...failed for pid 4242!!"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        test::CapturedLog log;
        EXPECT_EQ(command_line_from_argument_area(c.area, 4242), "None");
        EXPECT_TRUE(log.contains(c.message)) << log.text();
    }
}

}  // namespace
