#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

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

// The first four of a crash report's six lines; the last two, the call stack's symbols and
// return addresses, must read back as arrays of one length.
Lines crash_report_head(const std::string& log_text) {
    const Lines messages = test::log_messages(log_text);
    if (messages.size() != 6) return messages;
    const auto symbols = plist::parse_old_style(messages[4]);
    const auto addresses = plist::parse_old_style(messages[5]);
    EXPECT_TRUE(symbols && addresses && symbols->as_array() && addresses->as_array() &&
                !symbols->as_array()->empty() &&
                symbols->as_array()->size() == addresses->as_array()->size())
        << log_text;
    return Lines(messages.begin(), messages.begin() + 4);
}

TEST(DiskLogError, SixLinesWithNameReasonUserInfoAndCallStack) {
    {
        test::CapturedLog log;
        try {
            throw sys::Exception("NSRangeException", "index 4 beyond bounds [0 .. 2]",
                                 "{key = 1;}");
        } catch (const std::exception& e) {
            Disk::log_error(e, "AUTORUNS - LOGIN ITEMS");
        }
        EXPECT_EQ(crash_report_head(log.text()),
                  (Lines{"AUTORUNS - LOGIN ITEMS CRASHED", "NSRangeException",
                         "index 4 beyond bounds [0 .. 2]", "{key = 1;}"}));
    }
    // A standard exception is named after its type, under the heading as given.
    test::CapturedLog log;
    Disk::log_exception("COPYING CRASHED", std::out_of_range("map::at"));
    EXPECT_EQ(crash_report_head(log.text()),
              (Lines{"COPYING CRASHED", "std::out_of_range", "map::at", "(null)"}));
}

// The C++ library throws it and the handler reports it: the stack must be the thrower's.
TEST(DiskLogError, StandardExceptionStackIsWhereItWasThrown) {
    test::CapturedLog log;
    try {
        disk_errors_test::read_past_the_end();
    } catch (const std::exception& e) {
        Disk::log_error(e, "MODULE");
    }
    const Lines messages = test::log_messages(log.text());
    ASSERT_EQ(messages.size(), 6u) << log.text();
    EXPECT_NE(messages[4].find("read_past_the_end"), std::string::npos) << messages[4];
    EXPECT_EQ(messages[4].find("log_error"), std::string::npos) << messages[4];
    EXPECT_EQ(messages[4].find("__cxa_throw"), std::string::npos) << messages[4];
}

}  // namespace
