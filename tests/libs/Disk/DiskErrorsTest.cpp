#include <gtest/gtest.h>

#include <stdexcept>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"
#include "libs/sys/Exception.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"

namespace {

using Lines = std::vector<std::string>;

// The first four of a crash report's six lines; the last two, the call stack's symbols and
// return addresses, must read back as arrays of one length, the addresses bare decimals.
Lines crash_report_head(const std::string& log_text) {
    const Lines messages = test::log_messages(log_text);
    if (messages.size() != 6) return messages;
    const auto symbols = plist::parse_old_style(messages[4]);
    const auto addresses = plist::parse_old_style(messages[5]);
    EXPECT_TRUE(symbols && addresses && symbols->as_array() && addresses->as_array() &&
                !symbols->as_array()->empty() &&
                symbols->as_array()->size() == addresses->as_array()->size())
        << log_text;
    EXPECT_EQ(messages[5].find_first_not_of("0123456789(), \n"), std::string::npos);
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

}  // namespace
