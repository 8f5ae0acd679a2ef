#include <gtest/gtest.h>

#include <limits>

#include "libs/plist/Json.h"
#include "libs/plist/Reader.h"

namespace plist {
namespace {

TEST(Json, ConvertsEveryJsonType) {
    const char* text = R"({
        "s": "caf\u00e9 \ud83d\ude00 \"q\"", "i": -42, "real": 1.0, "exp": 2.5e3,
        "min": -9223372036854775808, "big": 18446744073709551615,
        "t": true, "n": null, "a": [1, [], {}], "o": {"k": "v", "k": "last"}
    })";
    const Value expected = Dictionary{{"s", "caf\xc3\xa9 \xf0\x9f\x98\x80 \"q\""},
                                      {"i", -42},
                                      {"real", 1.0},
                                      {"exp", 2500.0},
                                      {"min", std::numeric_limits<long long>::min()},
                                      {"big", Integer{-1, true}},
                                      {"t", true},
                                      {"n", Null{}},
                                      {"a", Array{1, Array{}, Dictionary{}}},
                                      {"o", Dictionary{{"k", "last"}}}};
    std::string error;
    EXPECT_EQ(parse_json(text, &error), expected) << error;
    EXPECT_EQ(parse_json("\xEF\xBB\xBF[\"x\"]"), Value(Array{"x"}));
    EXPECT_TRUE(parse_json(std::string(kMaxDepth, '[') + std::string(kMaxDepth, ']')));
}

TEST(Json, RefusesScalarsMalformedTextAndDeepNesting) {
    const std::string texts[] = {"",
                                 "42",
                                 "null",
                                 "{\"a\":}",
                                 "[1,]",
                                 "{} []",
                                 "[123456789012345678901234567890]",
                                 "[\"\xff\"]",
                                 std::string(kMaxDepth + 1, '[') + std::string(kMaxDepth + 1, ']')};
    for (const std::string& text : texts) {
        std::string error;
        EXPECT_FALSE(parse_json(text, &error)) << text;
        EXPECT_TRUE(error.starts_with("JSON: ")) << text << " -> " << error;
    }
}

}  // namespace
}  // namespace plist
