#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "PythonPlistlib.h"
#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"
#include "support/TempDir.h"

namespace plist {
namespace {

// Text XML cannot carry (control characters, invalid UTF-8, surrogates, non-characters) and
// what the writer puts in its place.
const std::string kHostile = "a\001b\377c\355\240\200d\357\277\276";
const std::string kReplaced = "a\uFFFDb\uFFFDc\uFFFD\uFFFD\uFFFDd\uFFFD";

// Every kind the XML form carries, with the range edges that libplist's getters lose (dates
// beyond 32-bit seconds, integers above INT64_MAX).
Value every_kind(const std::string& odd) {
    constexpr long long kMin = std::numeric_limits<long long>::min();
    constexpr double kInf = std::numeric_limits<double>::infinity();
    return Dictionary{
        {"strings", Array{"", "a<b>&c\"' \t\n", "caf\xc3\xa9 \xf0\x9f\x98\x80", odd}},
        {odd, Array{0, -1, kMin, std::numeric_limits<long long>::max(), Integer{-1, true},
                    Integer{kMin, true}}},
        {"reals", Array{0.1, 1.0 / 3, 0.0, -2.5, 1e300, 5e-324, -kInf, kInf}},
        {"booleans", Array{true, false}},
        {"dates", Array{Date{-1}, Date{744888422}, Date{-3e9}, Date{63113904000}}},
        {"data", Array{Data{}, Data{0, 1, 2, 255}, Data(1000, 0xAB), Array{Array{Data(60, 7)}}}},
        {"empty", Dictionary{{"array", Array{}}, {"dict", Dictionary{}}}},
        {"uid", Dictionary{{"CF$UID", 7}}},
    };
}

// What our writer writes, our reader reads back, and Python's plistlib loads.
TEST(XmlReader, ReadsBackWhatOurWriterWritesAndSoDoesPythonsPlistlib) {
    const std::string xml = to_xml(every_kind(kHostile));
    std::string error;
    EXPECT_EQ(parse(xml, &error), every_kind(kReplaced)) << error;
    const auto nan = parse(to_xml(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_TRUE(nan && nan->as_real() && std::isnan(*nan->as_real()));

    if (!plist_test::python_available()) GTEST_SKIP() << "python3 is not installed";
    test::TempDir dir;
    const std::string file = dir.write("doc.plist", xml).string();
    EXPECT_EQ(plist_test::python_agreeing({{file, file}}), std::vector{file});
}

TEST(XmlReader, RefusesMalformedDocumentsAndNestingBeforeLibplistRecurses) {
    std::string error;
    for (const char* xml :
         {"", "<plist><dict><key>a</key></plist>", "<plist><integer>12</string></plist>"}) {
        EXPECT_FALSE(parse_xml(xml, &error)) << xml;
        EXPECT_TRUE(error.starts_with("XML property list: ")) << error;
    }
    const auto nested = [](int levels, std::string_view open) {
        std::string xml = "<plist version=\"1.0\">";
        for (int i = 0; i < levels; ++i) xml += open;
        for (int i = 0; i < levels; ++i) xml += "</array>";
        return xml + "</plist>";
    };
    EXPECT_TRUE(parse_xml(nested(kMaxDepth, "<array>")));
    // Deep enough to overflow libplist's stack, also behind tricks that could hide the nesting.
    for (const auto& [levels, open] : {std::pair{kMaxDepth + 1, "<array>"},
                                       {300000, "<array>"},
                                       {300000, "<array a=\"/>\">"},
                                       {300000, "<array\n></dict>"}}) {
        EXPECT_FALSE(parse_xml(nested(levels, open), &error));
        EXPECT_NE(error.find("nested deeper"), std::string::npos) << open << ": " << error;
    }
    // A quote in character data, an instruction or an unclosed attribute once hid what followed.
    for (const char* prefix : {"<string><![CDATA[']]></string>", "<?x '?>", "<dict a='>"}) {
        EXPECT_FALSE(parse_xml(prefix + nested(300000, "<array>"), &error)) << prefix;
    }
}

TEST(PlistParse, DetectsTheFormatFromTheBytes) {
    const Value expected = Dictionary{{"k", "v"}};
    const std::string xml = to_xml(expected);
    // The (ASCII) document in UTF-16 or UTF-32 of either byte order, after the given prefix.
    const auto wide = [&xml](std::string out, std::size_t width, bool big_endian) {
        for (const char c : xml) {
            std::string unit(width, '\0');
            unit[big_endian ? width - 1 : 0] = c;
            out += unit;
        }
        return out;
    };
    for (const std::string& bytes : {
             "\xEF\xBB\xBF \n" + xml,
             wide("\xFF\xFE", 2, false),
             wide("\xFE\xFF", 2, true),
             wide("", 2, false),  // UTF-16 without a byte-order mark, told by its NULs
             wide("", 2, true),
             wide(std::string("\xFF\xFE\0\0", 4), 4, false),
             wide(std::string("\0\0\xFE\xFF", 4), 4, true),
             std::string("{ k = v; }"),
         }) {
        EXPECT_EQ(parse(bytes), expected) << bytes.size();
    }
    EXPECT_EQ(parse(" <0fbd 77>"), Value(Data{0x0f, 0xbd, 0x77}));  // old-style data
    std::string error;
    EXPECT_FALSE(parse("bplist00 truncated", &error));
    EXPECT_TRUE(error.starts_with("binary property list: ")) << error;
}

// No reader may read past the given length (libplist gets the text without a terminating NUL):
// each prefix is placed flush against an inaccessible page.
TEST(PlistParse, EveryPrefixStaysWithinItsBytes) {
    const std::string texts[] = {
        to_xml(every_kind(kReplaced)),
        "<plist version=\"1.0\"><!-- c --><dict><key>a&amp;b&#65;&#x42;</key>"
        "<string><![CDATA[x<y]]></string><key>n</key><integer>0x10</integer></dict></plist>",
        "{ a = \"q\\U00e9\\101\"; b = (x, <0102>, {length = 1, bytes = 0x03}); c; d = <null>; }"};
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
            EXPECT_TRUE(parse(std::string_view(end - n, n), &why) || !why.empty()) << n;
        }
    }
    ::munmap(region, usable + page);
}

}  // namespace
}  // namespace plist
