#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "support/CapturedLog.h"

namespace {

TEST(DiskSanitizeJsonDict, NullsAtEveryDepthBecomeTextAndLeavesBecomeStrings) {
    const plist::Dictionary json{
        {"top", plist::Null{}},
        {"list", plist::Array{plist::Null{}, 7, plist::Array{plist::Null{}, true}}},
        {"nested", plist::Dictionary{{"deeper", plist::Dictionary{{"gone", plist::Null{}},
                                                                  {"ratio", 0.5},
                                                                  {"off", false}}}}},
        {"text", "before <null> after"},
        {"<null>", "key text"},
        {"blob", plist::Data{0xde, 0xad}},
    };
    test::CapturedLog log;

    const auto clean = Disk::sanitize_json_dict(json);

    ASSERT_TRUE(clean);
    const plist::Dictionary expected{
        {"top", "null value"},
        {"list", plist::Array{"null value", "7", plist::Array{"null value", "1"}}},
        {"nested", plist::Dictionary{{"deeper", plist::Dictionary{{"gone", "null value"},
                                                                  {"ratio", "0.5"},
                                                                  {"off", "0"}}}}},
        {"text", "before null value after"},
        {"null value", "key text"},
        {"blob", plist::Data{0xde, 0xad}},
    };
    EXPECT_EQ(*clean, expected);
    EXPECT_EQ(log.text(), "");
}

}  // namespace
