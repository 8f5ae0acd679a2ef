#include <gtest/gtest.h>

#include "libs/plist/OldStyle.h"
#include "libs/plist/Reader.h"

namespace plist {
namespace {

TEST(OldStyleReader, ReadsTheGrammarAndDescriptionArtefacts) {
    const std::string truncated =
        "{length = 548, bytes = 0x626f6f6b 24020000 00000410 30000000 ... 04000000 00000000 }";
    const std::pair<std::string, Value> cases[] = {
        {"abc_$/:.-09", "abc_$/:.-09"},
        {"\"two words\"", "two words"},
        {"\"\"", ""},
        {R"("q\"b\\s\'")", "q\"b\\s'"},
        {R"("\a\b\f\n\r\t\v\101\60\351")",
         "\a\b\f\n\r\t\vA0\xc3\xa9"},  // octal above 0x7F: Latin-1
        {R"("\U00e9\U4e2d\Ud83d\Ude00")", "\xc3\xa9\xe4\xb8\xad\xf0\x9f\x98\x80"},
        {R"("\Ue9x\U41")", "\xc3\xa9xA"},
        {R"("\Ud83dx")", "\xef\xbf\xbdx"},  // a lone surrogate
        {"\"a\\\nb\"", "a\nb"},
        {"", Dictionary{}},
        {"\xEF\xBB\xBF(a,)", Array{"a"}},
        {"<626f6f6b ec020000 0A>", Data{'b', 'o', 'o', 'k', 0xec, 2, 0, 0, 0x0a}},
        {"{ detail = <null>; t = {length = 4, bytes = 0xdeadbeef}; }",
         Dictionary{{"detail", Null{}}, {"t", Data{0xde, 0xad, 0xbe, 0xef}}}},
        // Long data shows only its ends: kept as text, since the middle is lost.
        {"(" + truncated + ")", Array{truncated}},
        // A real dictionary whose first key happens to be "length".
        {"{length = 5; bytes = 0x1;}", Dictionary{{"length", "5"}, {"bytes", "0x1"}}},
        {"// leading comment\n{\n flag;  /* same as flag = flag */\n list = (a, b, /* c */ c,);\n"
         " \xE2\x80\xA8 spaced = x; // to the end of the line\n}\n/* trailing */",
         Dictionary{{"flag", "flag"}, {"list", Array{"a", "b", "c"}}, {"spaced", "x"}}},
        {"\"greeting\" = \"hello\";\nbye = ciao;\n",  // a .strings body
         Dictionary{{"greeting", "hello"}, {"bye", "ciao"}}},
    };
    for (const auto& [text, expected] : cases) {
        std::string error;
        EXPECT_EQ(parse_old_style(text, &error), expected) << text << ": " << error;
    }
}

TEST(OldStyleReader, ReportsErrorsWithTheirLineAndBoundsNesting) {
    const std::pair<std::string, const char*> cases[] = {
        {"{\n a = b\n}", "expected ';' after a dictionary entry at line 3"},
        {"{ a = b;", "unterminated dictionary"},
        {"{ (a) = b; }", "expected a string"},
        {"(a b)", "expected ',' or ')'"},
        {"\"open", "unterminated quoted string"},
        {"{ a = /* open", "unterminated comment"},
        {"<0g>", "bad hex digit"},
        {"{length = 3, bytes = 0x0102}", "length does not match"},
        {"\"a\" = \"b\"", "expected ';'"},
        {std::string(kMaxDepth + 1, '(') + std::string(kMaxDepth + 1, ')'), "nested deeper"},
    };
    for (const auto& [text, message] : cases) {
        std::string error;
        EXPECT_FALSE(parse_old_style(text, &error)) << text;
        EXPECT_NE(error.find(message), std::string::npos) << text << " -> " << error;
    }
    EXPECT_TRUE(parse_old_style(std::string(kMaxDepth, '(') + std::string(kMaxDepth, ')')));
}

}  // namespace
}  // namespace plist
