#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "support/CapturedLog.h"

namespace {

TEST(DiskSanitizeJsonDict, NullsAtEveryDepthBecomeTextAndLeavesBecomeStrings) {
    using plist::Array, plist::Dictionary;
    const plist::Null null;
    test::CapturedLog log;
    EXPECT_EQ(Disk::sanitize_json_dict(Dictionary{
                  {"list", Array{null, 7, Array{null, true}}},
                  {"nested", Dictionary{{"deeper", Dictionary{{"gone", null}, {"ratio", 0.5}}}}},
                  {"text", "before <null> after"},
                  {"<null>", "key text"},
                  {"blob", plist::Data{0xde, 0xad}},
              }),
              (Dictionary{
                  {"list", Array{"null value", "7", Array{"null value", "1"}}},
                  {"nested",
                   Dictionary{{"deeper", Dictionary{{"gone", "null value"}, {"ratio", "0.5"}}}}},
                  {"text", "before null value after"},
                  {"null value", "key text"},
                  {"blob", plist::Data{0xde, 0xad}},
              }));
    EXPECT_EQ(log.text(), "");
}

}  // namespace
