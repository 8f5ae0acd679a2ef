#include <gtest/gtest.h>

#include <stdexcept>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"
#include "libs/sys/Exception.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"

// Outside the anonymous namespace: a call stack names only exported functions.
namespace disk_errors_test {

[[gnu::noinline]] void read_past_the_end() {
    static_cast<void>(std::vector<int>().at(3));
}

}  // namespace disk_errors_test

namespace {

using Lines = std::vector<std::string>;

// The six lines log_error gives of what `fails` throws; the last two, the call stack's symbols
// and return addresses, must read back as arrays of one non-zero length.
Lines crash_report(void (*fails)()) {
    test::CapturedLog log;
    try {
        fails();
    } catch (const std::exception& e) {
        Disk::log_error(e, "MODULE");
    }
    Lines lines = test::log_messages(log.text());
    EXPECT_EQ(lines.size(), 6u) << log.text();
    lines.resize(6);
    const auto symbols = plist::parse_old_style(lines[4]);
    const auto addresses = plist::parse_old_style(lines[5]);
    const std::size_t depth = symbols && symbols->as_array() ? symbols->as_array()->size() : 0;
    EXPECT_TRUE(depth > 0 && addresses && addresses->as_array() &&
                addresses->as_array()->size() == depth)
        << log.text();
    return lines;
}

TEST(DiskLogError, SixLinesWithNameReasonUserInfoAndCallStack) {
    const Lines report = crash_report([] {
        throw sys::Exception("NSRangeException", "index 4 beyond bounds [0 .. 2]", "{key = 1;}");
    });
    EXPECT_EQ(Lines(report.begin(), report.begin() + 4),
              (Lines{"MODULE CRASHED", "NSRangeException", "index 4 beyond bounds [0 .. 2]",
                     "{key = 1;}"}));

    // The C++ library throws it and the handler reports it: it is named after its type, and the
    // stack is the thrower's, not the handler's.
    const Lines standard = crash_report(disk_errors_test::read_past_the_end);
    EXPECT_EQ(standard[1] + " " + standard[3], "std::out_of_range (null)");
    EXPECT_NE(standard[4].find("read_past_the_end"), std::string::npos) << standard[4];
    EXPECT_EQ(standard[4].find("log_error"), std::string::npos) << standard[4];
    EXPECT_EQ(standard[4].find("__cxa_throw"), std::string::npos) << standard[4];
    // With no record of a throw, the stack is where it is reported.
    EXPECT_FALSE(sys::report_of(std::out_of_range("map::at")).stack.symbols.empty());
}

}  // namespace
