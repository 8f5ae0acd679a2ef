#include <gtest/gtest.h>

#include <stdexcept>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"
#include "libs/sys/Exception.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"

namespace {

// The last two lines of a crash report are description texts of arrays; they must read back.
plist::Array array_of(const std::string& description) {
    auto parsed = plist::parse_old_style(description);
    if (!parsed || !parsed->as_array()) {
        ADD_FAILURE() << "not an array description: " << description;
        return {};
    }
    return *parsed->as_array();
}

TEST(DiskLogError, SixLinesWithNameReasonUserInfoAndCallStack) {
    test::CapturedLog log;
    try {
        throw sys::Exception("NSRangeException", "index 4 beyond bounds [0 .. 2]", "{key = 1;}");
    } catch (const std::exception& e) {
        Disk::log_error(e, "AUTORUNS - LOGIN ITEMS");
    }

    const auto messages = test::log_messages(log.text());
    ASSERT_EQ(messages.size(), 6u) << log.text();
    EXPECT_EQ(messages[0], "AUTORUNS - LOGIN ITEMS CRASHED");
    EXPECT_EQ(messages[1], "NSRangeException");
    EXPECT_EQ(messages[2], "index 4 beyond bounds [0 .. 2]");
    EXPECT_EQ(messages[3], "{key = 1;}");

    const plist::Array symbols = array_of(messages[4]);
    const plist::Array addresses = array_of(messages[5]);
    EXPECT_FALSE(symbols.empty());
    EXPECT_EQ(symbols.size(), addresses.size());
    for (const auto& address : addresses) {
        // Bare decimal integers read back as strings; none is quoted or negative.
        ASSERT_TRUE(address.as_string());
        EXPECT_EQ(address.as_string()->find_first_not_of("0123456789"), std::string::npos);
    }
}

TEST(DiskLogException, StandardExceptionIsNamedAfterItsTypeUnderTheGivenHeading) {
    test::CapturedLog log;
    Disk::log_exception("COPYING CRASHED", std::out_of_range("map::at"));

    const auto messages = test::log_messages(log.text());
    ASSERT_EQ(messages.size(), 6u) << log.text();
    EXPECT_EQ(messages[0], "COPYING CRASHED");
    EXPECT_EQ(messages[1], "std::out_of_range");
    EXPECT_EQ(messages[2], "map::at");
    EXPECT_EQ(messages[3], "(null)");
}

}  // namespace
