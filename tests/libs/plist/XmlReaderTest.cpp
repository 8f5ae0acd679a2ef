#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"

namespace {

using plist::Array;
using plist::Data;
using plist::Date;
using plist::Dictionary;
using plist::Integer;
using plist::Value;

// Every kind the XML form carries, with the range edges that libplist's getters lose.
Value every_kind() {
    constexpr long long kMin = std::numeric_limits<long long>::min();
    return Dictionary{
        {"strings", Array{"", "plain", "a<b>&c\"' \t", "caf\xc3\xa9 \xf0\x9f\x98\x80"}},
        {"integers", Array{0, -1, kMin, std::numeric_limits<long long>::max(), Integer{-1, true},
                           Integer{kMin, true}}},
        {"reals", Array{0.1, 0.0, -2.5, 1e300, 5e-324, -std::numeric_limits<double>::infinity()}},
        {"booleans", Array{true, false}},
        {"dates", Array{Date{0}, Date{-1}, Date{-63114076800}, Date{63113904000}}},
        {"data", Array{Data{}, Data{0, 1, 2, 255}, Data(1000, 0xAB)}},
        {"empty", Dictionary{{"array", Array{}}, {"dict", Dictionary{}}}},
        {"uid", Dictionary{{"CF$UID", 7}}},
    };
}

TEST(XmlReader, ReadsBackEveryKindThatOurWriterWrites) {
    const Value original = every_kind();
    std::string error;
    EXPECT_EQ(plist::parse_xml(plist::to_xml(original), &error), original) << error;
    EXPECT_EQ(plist::parse(plist::to_xml(original)), original);
    const auto nan = plist::parse_xml(plist::to_xml(std::numeric_limits<double>::quiet_NaN()));
    ASSERT_TRUE(nan && nan->as_real());
    EXPECT_TRUE(std::isnan(*nan->as_real()));
}

TEST(XmlReader, RefusesMalformedDocumentsAndNestingBeforeLibplistRecurses) {
    for (const char* xml :
         {"", "<plist><dict><key>a</key></plist>", "<plist><integer>12</string></plist>"}) {
        std::string error;
        EXPECT_FALSE(plist::parse_xml(xml, &error)) << xml;
        EXPECT_TRUE(error.starts_with("XML property list: ")) << error;
    }
    const auto nested = [](int levels, std::string_view open = "<array>") {
        std::string xml = "<plist version=\"1.0\">";
        for (int i = 0; i < levels; ++i) xml += open;
        for (int i = 0; i < levels; ++i) xml += "</array>";
        return xml + "</plist>";
    };
    EXPECT_TRUE(plist::parse_xml(nested(plist::kMaxDepth)));
    std::string error;
    EXPECT_FALSE(plist::parse_xml(nested(plist::kMaxDepth + 1), &error));
    EXPECT_NE(error.find("nested deeper"), std::string::npos) << error;
    // Deep enough to overflow libplist's stack, also behind tricks that could hide the nesting.
    for (const char* open : {"<array>", "<array a=\"/>\">", "<array\n></dict>"}) {
        EXPECT_FALSE(plist::parse_xml(nested(300000, open), &error));
        EXPECT_NE(error.find("nested deeper"), std::string::npos) << open << ": " << error;
    }
}

// The text goes to libplist without a terminating NUL, so its parser must keep to the length:
// each prefix is placed flush against an inaccessible page.
TEST(XmlReader, LibplistKeepsToTheGivenLength) {
    const std::string texts[] = {
        plist::to_xml(every_kind()),
        "<plist version=\"1.0\"><!-- c --><dict><key>a&amp;b&#65;&#x42;</key>"
        "<string><![CDATA[x<y]]></string><key>n</key><integer>0x10</integer></dict></plist>"};
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::size_t usable = (texts[0].size() / page + 1) * page;
    void* region =
        ::mmap(nullptr, usable + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(region, MAP_FAILED);
    char* end = static_cast<char*>(region) + usable;
    ASSERT_EQ(::mprotect(end, page, PROT_NONE), 0);
    for (const std::string& text : texts) {
        for (std::size_t n = 0; n <= text.size(); ++n) {
            std::memcpy(end - n, text.data(), n);
            std::string why;
            EXPECT_TRUE(plist::parse_xml(std::string_view(end - n, n), &why) || !why.empty());
        }
    }
    ::munmap(region, usable + page);
}

TEST(PlistParse, DetectsTheFormatFromTheBytes) {
    const Value expected = Dictionary{{"k", "v"}};
    const std::string xml = plist::to_xml(expected);
    EXPECT_EQ(plist::parse("\xEF\xBB\xBF \n" + xml), expected);
    std::string le = "\xFF\xFE", be = "\xFE\xFF";  // UTF-16 with a byte-order mark, both orders
    for (const char c : xml) le += std::string{c, '\0'}, be += std::string{'\0', c};
    EXPECT_EQ(plist::parse(le), expected);
    EXPECT_EQ(plist::parse(be), expected);
    EXPECT_EQ(plist::parse("{ k = v; }"), expected);
    EXPECT_EQ(plist::parse(" <0fbd 77>"), Value(Data{0x0f, 0xbd, 0x77}));  // old-style data

    std::string error;
    EXPECT_FALSE(plist::parse("bplist00 truncated", &error));
    EXPECT_TRUE(error.starts_with("binary property list: ")) << error;
}

}  // namespace
