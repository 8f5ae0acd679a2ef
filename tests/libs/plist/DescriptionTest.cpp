#include <gtest/gtest.h>

#include "libs/plist/OldStyle.h"

namespace plist {
namespace {

// Each value's text, and what that text reads back as (nothing: the value itself). Everything but
// letters and digits is quoted, and leaves other than data read back as text.
TEST(PlistDescribe, LaysOutAndQuotesAsThePlatformDoesAndParsesBack) {
    const std::tuple<Value, const char*, std::optional<Value>> cases[] = {
        {Dictionary{
             {"a b", Array{Dictionary{{"k", "v"}}, ""}}, {"e", Array{}}, {"n", Dictionary{}}},
         "{\n"
         "    \"a b\" =     (\n"
         "                {\n"
         "            k = v;\n"
         "        },\n"
         "        \"\"\n"
         "    );\n"
         "    e =     (\n"
         "    );\n"
         "    n =     {\n"
         "    };\n"
         "}",
         {}},
        {"abc123", "abc123", {}},
        {"", "\"\"", {}},
        {"a_b", "\"a_b\"", {}},
        {"say \"hi\" = \\;", "\"say \\\"hi\\\" = \\\\;\"", {}},
        {"line\nnext\ttab\x01\x7f", "\"line\\nnext\\ttab\\001\\177\"", {}},
        {"caf\xc3\xa9", "\"caf\\U00e9\"", {}},
        {"\xf0\x9f\x98\x80", "\"\\Ud83d\\Ude00\"", {}},
        {true, "1", "1"},
        {-65, "\"-65\"", "-65"},
        {Integer{-1, true}, "18446744073709551615", "18446744073709551615"},
        {640976633.129187, "\"640976633.129187\"", "640976633.129187"},
        {2.0, "2", "2"},
        {Date{-0.5}, "\"2000-12-31 23:59:59 +0000\"", "2000-12-31 23:59:59 +0000"},
        {Data{1, 2, 3, 4, 5, 6, 7, 8, 9}, "<01020304 05060708 09>", {}},
        {Null{}, "\"<null>\"", "<null>"},
    };
    for (const auto& [value, text, back] : cases) {
        EXPECT_EQ(describe(value), text);
        EXPECT_EQ(parse_old_style(text), back.value_or(value)) << text;
    }
}

}  // namespace
}  // namespace plist
