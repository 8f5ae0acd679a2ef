#include <gtest/gtest.h>

#include <vector>

#include "libs/plist/OldStyle.h"
#include "libs/plist/Reader.h"

namespace {

using plist::Array;
using plist::Data;
using plist::Dictionary;
using plist::Value;

std::optional<Value> parse(std::string_view text, std::string* error = nullptr) {
    return plist::parse_old_style(text, error);
}

TEST(OldStyleReader, ReadsBareAndQuotedStrings) {
    const std::pair<const char*, const char*> cases[] = {
        {"abc_$/:.-09", "abc_$/:.-09"},
        {"\"two words\"", "two words"},
        {"\"\"", ""},
        {R"("q\"b\\s\'")", "q\"b\\s'"},
        {R"("\a\b\f\n\r\t\v\101\60")", "\a\b\f\n\r\t\vA0"},
        {R"("\U00e9\U4e2d\Ud83d\Ude00")", "\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80"},
        {R"("\Ue9x\U41")", "\xc3\xa9xA"},
        {R"("\Ud83dx")", "\xef\xbf\xbdx"},  // a lone surrogate
        {"\"a\\\nb\"", "a\nb"},
    };
    for (const auto& [text, expected] : cases) {
        std::string error;
        EXPECT_EQ(parse(text, &error), Value(expected)) << text << ": " << error;
    }
}

TEST(OldStyleReader, ReadsDescriptionArtefactsAndData) {
    EXPECT_EQ(parse("{ detail = <null>; t = {length = 4, bytes = 0xdeadbeef}; }"),
              Value(Dictionary{{"detail", plist::Null{}}, {"t", Data{0xde, 0xad, 0xbe, 0xef}}}));
    EXPECT_EQ(parse("<626f6f6b ec020000 0A>"),
              Value(Data{'b', 'o', 'o', 'k', 0xec, 2, 0, 0, 0x0a}));
    // The long form shows only the ends of the bytes: kept as text, since the middle is lost.
    const std::string truncated =
        "{length = 548, bytes = 0x626f6f6b 24020000 00000410 30000000 ... 04000000 00000000 }";
    EXPECT_EQ(parse("(" + truncated + ")"), Value(Array{truncated}));
    // A real dictionary whose first key happens to be "length".
    EXPECT_EQ(parse("{length = 5; bytes = 0x1;}"),
              Value(Dictionary{{"length", "5"}, {"bytes", "0x1"}}));
}

TEST(OldStyleReader, AcceptsKeyAloneTrailingCommasCommentsAndStringsFiles) {
    const char* text =
        "// leading comment\n"
        "{\n"
        "    flag;  /* same as flag = flag */\n"
        "    list = (a, b, /* inline */ c,);\n"
        "    \xE2\x80\xA8 spaced = x; // to the end of the line\n"
        "}\n"
        "/* trailing */";
    EXPECT_EQ(parse(text),
              Value(Dictionary{{"flag", "flag"}, {"list", Array{"a", "b", "c"}}, {"spaced", "x"}}));
    EXPECT_EQ(parse("\xEF\xBB\xBF(a,)"), Value(Array{"a"}));
    EXPECT_EQ(parse("\"greeting\" = \"hello\";\nbye = ciao;\n"),
              Value(Dictionary{{"greeting", "hello"}, {"bye", "ciao"}}));
}

TEST(OldStyleReader, ReportsErrorsWithTheirLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"{\n a = b\n}", "expected ';' after a dictionary entry at line 3"},
        {"{ a = b;", "unterminated dictionary"},
        {"{ (a) = b; }", "expected a string"},
        {"(a b)", "expected ',' or ')'"},
        {"\"open", "unterminated quoted string"},
        {"{ a = /* open", "unterminated comment"},
        {"{length = 3, bytes = 0x0102}", "length does not match"},
        {"\"a\" = \"b\"", "expected ';'"},
    };
    for (const auto& [text, message] : cases) {
        std::string error;
        EXPECT_FALSE(parse(text, &error)) << text;
        EXPECT_NE(error.find(message), std::string::npos) << text << " -> " << error;
    }
}

TEST(OldStyleReader, BoundsNestingAndNeverReadsPastItsInput) {
    const auto nested = [](int levels) {
        return std::string(levels, '(') + std::string(levels, ')');
    };
    EXPECT_TRUE(parse(nested(plist::kMaxDepth)));
    std::string error;
    EXPECT_FALSE(parse(nested(plist::kMaxDepth + 1), &error));
    EXPECT_NE(error.find("nested deeper"), std::string::npos) << error;

    const std::string text =
        "{ a = \"q\\U00e9\\101\"; b = (x, <0102>, {length = 1, bytes = 0x03}); c; d = <null>; }";
    for (std::size_t n = 0; n < text.size(); ++n) {
        // A heap copy of exactly n bytes, so that AddressSanitizer sees any read beyond it.
        const std::vector<char> copy(text.begin(), text.begin() + static_cast<long>(n));
        std::string why;
        EXPECT_TRUE(parse(std::string_view(copy.data(), n), &why) || !why.empty()) << n;
    }
}

}  // namespace
