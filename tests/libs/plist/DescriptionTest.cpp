#include <gtest/gtest.h>

#include "libs/plist/OldStyle.h"

namespace {

using plist::Array;
using plist::Data;
using plist::Date;
using plist::Dictionary;
using plist::Integer;
using plist::Value;

TEST(PlistDescribe, LaysOutNestedContainersAsThePlatformDoes) {
    const Value v = Dictionary{
        {"NSWindow Frame Main", "10 20 300 400 "},
        {"autohide", true},
        {"items", Array{Dictionary{{"name", "Foo"}, {"path", "/Applications/Foo.app"}}, ""}},
        {"token", Data{0xde, 0xad, 0xbe, 0xef}},
        {"empty", Array{}},
        {"none", Dictionary{}},
    };
    EXPECT_EQ(plist::describe(v),
              "{\n"
              "    \"NSWindow Frame Main\" = \"10 20 300 400 \";\n"
              "    autohide = 1;\n"
              "    empty =     (\n"
              "    );\n"
              "    items =     (\n"
              "                {\n"
              "            name = Foo;\n"
              "            path = \"/Applications/Foo.app\";\n"
              "        },\n"
              "        \"\"\n"
              "    );\n"
              "    none =     {\n"
              "    };\n"
              "    token = <deadbeef>;\n"
              "}");
}

TEST(PlistDescribe, QuotesEverythingButLettersAndDigits) {
    const std::pair<Value, const char*> cases[] = {
        {"abc123", "abc123"},
        {"", "\"\""},
        {"a_b", "\"a_b\""},
        {"say \"hi\"\\", "\"say \\\"hi\\\"\\\\\""},
        {"line\nnext\ttab\x01", "\"line\\nnext\\ttab\\001\""},
        {"caf\xc3\xa9", "\"caf\\U00e9\""},
        {"\xf0\x9f\x98\x80", "\"\\Ud83d\\Ude00\""},
        {-65, "\"-65\""},
        {Integer{-1, true}, "18446744073709551615"},
        {640976633.129187, "\"640976633.129187\""},
        {2.0, "2"},
        {Date{-0.5}, "\"2000-12-31 23:59:59 +0000\""},
        {Data{1, 2, 3, 4, 5, 6, 7, 8, 9}, "<01020304 05060708 09>"},
        {plist::Null{}, "\"<null>\""},
    };
    for (const auto& [value, text] : cases) EXPECT_EQ(plist::describe(value), text);
}

TEST(PlistDescribe, ParsesBackWithLeavesAsText) {
    const Array strings{"", "a \"b\" \\ c\n\t\x01", "caf\xc3\xa9 \xf0\x9f\x98\x80", "k = v;"};
    const Value original = Dictionary{
        {"strings", strings},
        {"numbers", Array{-12, Integer{-1, true}, 0.1, true, Date{0}, plist::Null{}}},
        {"data", Data{0, 0x7f, 0xff, 1, 2}},
        {"nested", Array{Array{}, Dictionary{{"deep", Array{Dictionary{{"x = ;", 1}}}}}}},
    };
    const Value expected = Dictionary{
        {"strings", strings},
        {"numbers",
         Array{"-12", "18446744073709551615", "0.1", "1", "2001-01-01 00:00:00 +0000", "<null>"}},
        {"data", Data{0, 0x7f, 0xff, 1, 2}},
        {"nested", Array{Array{}, Dictionary{{"deep", Array{Dictionary{{"x = ;", "1"}}}}}}},
    };
    std::string error;
    EXPECT_EQ(plist::parse_old_style(plist::describe(original), &error), expected) << error;
}

}  // namespace
