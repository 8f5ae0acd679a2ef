#include <gtest/gtest.h>

#include <limits>

#include "libs/plist/Json.h"
#include "libs/plist/Reader.h"

namespace {

using plist::Array;
using plist::Dictionary;
using plist::Integer;
using plist::Value;

TEST(Json, ConvertsEveryJsonType) {
    const char* text = R"({
        "s": "caf\u00e9 \ud83d\ude00 \"q\"", "i": -42, "real": 1.0, "exp": 2.5e3,
        "min": -9223372036854775808, "max": 9223372036854775807, "big": 18446744073709551615,
        "t": true, "f": false, "n": null, "a": [1, [], {}], "o": {"k": "v", "k": "last"}
    })";
    std::string error;
    EXPECT_EQ(plist::parse_json(text, &error), Value(Dictionary{
                                                   {"s", "caf\xc3\xa9 \xf0\x9f\x98\x80 \"q\""},
                                                   {"i", -42},
                                                   {"real", 1.0},
                                                   {"exp", 2500.0},
                                                   {"min", std::numeric_limits<long long>::min()},
                                                   {"max", std::numeric_limits<long long>::max()},
                                                   {"big", Integer{-1, true}},
                                                   {"t", true},
                                                   {"f", false},
                                                   {"n", plist::Null{}},
                                                   {"a", Array{1, Array{}, Dictionary{}}},
                                                   {"o", Dictionary{{"k", "last"}}},
                                               }))
        << error;
    EXPECT_EQ(plist::parse_json("\xEF\xBB\xBF[\"x\"]"), Value(Array{"x"}));
}

TEST(Json, RefusesScalarsMalformedTextAndDeepNesting) {
    for (const char* text : {"", "42", "\"s\"", "null", "{", "{\"a\":}", "[1,]", "{} []",
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
