#include <gtest/gtest.h>

#include <limits>

#include "libs/plist/Json.h"
#include "libs/plist/Reader.h"

namespace {

using plist::Array;
using plist::Dictionary;
using plist::Value;

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
                                      {"big", plist::Integer{-1, true}},
                                      {"t", true},
                                      {"n", plist::Null{}},
                                      {"a", Array{1, Array{}, Dictionary{}}},
                                      {"o", Dictionary{{"k", "last"}}}};
    std::string error;
    EXPECT_EQ(plist::parse_json(text, &error), expected) << error;
    EXPECT_EQ(plist::parse_json("\xEF\xBB\xBF[\"x\"]"), Value(Array{"x"}));
}

TEST(Json, RefusesScalarsMalformedTextAndDeepNesting) {
    for (const char* text : {"", "42", "null", "{\"a\":}", "[1,]", "{} []",
                             "[123456789012345678901234567890]", "[\"\xff\"]"}) {
        std::string error;
        EXPECT_FALSE(plist::parse_json(text, &error)) << text;
        EXPECT_TRUE(error.starts_with("JSON: ")) << text << " -> " << error;
    }
    const auto nested = [](int levels) {
        return std::string(levels, '[') + std::string(levels, ']');
    };
    EXPECT_TRUE(plist::parse_json(nested(plist::kMaxDepth)));
    EXPECT_FALSE(plist::parse_json(nested(plist::kMaxDepth + 1)));
}

}  // namespace
