// The XML form both ways (our writer's layout and streaming, our reader, Python's plistlib as
// a judge) and how parse() tells the formats apart.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "PythonPlistlib.h"
#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"
#include "libs/sys/UniqueFd.h"
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

const std::string kPrologue =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
const std::string kEpilogue = "</plist>\n";

// The document between Apple's exact prologue and epilogue.
std::string body(const Value& v) {
    const std::string xml = to_xml(v);
    EXPECT_TRUE(xml.starts_with(kPrologue) && xml.ends_with(kEpilogue)) << xml;
    return xml.substr(kPrologue.size(), xml.size() - kPrologue.size() - kEpilogue.size());
}

TEST(XmlWriter, EventInterfaceWritesWhatTheValueWouldWrite) {
    std::string out;
    XmlWriter writer(&out);
    writer.begin_document();
    writer.begin_array();
    writer.string("x&y");
    writer.begin_dict();
    writer.key("k");
    writer.value(Array{1});
    writer.end_dict();
    writer.begin_array();
    writer.end_array();
    writer.end_array();
    writer.end_document();
    EXPECT_THROW(writer.value(Array{Null{}}), std::invalid_argument);
    EXPECT_EQ(out, to_xml(Array{"x&y", Dictionary{{"k", Array{1}}}, Array{}}));
}

TEST(XmlWriter, LaysOutDocumentsAsApplesWriter) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    const std::string base64(80, '/');  // of 60 bytes of 0xFF
    const std::pair<Value, std::string> cases[] = {
        {Dictionary{{"b", Array{}},
                    {"a", Dictionary{}},
                    {"B", ""},
                    {"x<y&\"'", Array{Dictionary{{"k", -7}}, true, false}}},
         "<dict>\n"
         "\t<key>B</key>\n\t<string></string>\n"
         "\t<key>a</key>\n\t<dict/>\n"
         "\t<key>b</key>\n\t<array/>\n"
         "\t<key>x&lt;y&amp;\"'</key>\n\t<array>\n"
         "\t\t<dict>\n\t\t\t<key>k</key>\n\t\t\t<integer>-7</integer>\n\t\t</dict>\n"
         "\t\t<true/>\n\t\t<false/>\n\t</array>\n"
         "</dict>"},
        {0.1, "<real>0.10000000000000001</real>"},
        {-0.0, "<real>0.0</real>"},
        {kNaN, "<real>nan</real>"},
        {-std::numeric_limits<double>::infinity(), "<real>-infinity</real>"},
        {Date{-0.5}, "<date>2000-12-31T23:59:59Z</date>"},  // rounded down, not toward zero
        // Years readers refuse (distantPast, a corrupt date) are held at the nearest end.
        {Date{-63114076800}, "<date>0001-01-01T00:00:00Z</date>"},
        {Date{1e13}, "<date>9999-12-31T23:59:59Z</date>"},
        {Date{kNaN}, "<date>2001-01-01T00:00:00Z</date>"},
        // Base64 lines are 76 characters at the top and 8 fewer for each tab of indentation.
        {Data(60, 0xFF), "<data>\n" + base64.substr(4) + "\n////\n</data>"},
        {Array{Data(60, 0xFF)}, "<array>\n\t<data>\n\t" + base64.substr(12) + "\n\t" +
                                    base64.substr(68) + "\n\t</data>\n</array>"},
        {Data{0, 1}, "<data>\nAAE=\n</data>"},
        {Array{Data{}}, "<array>\n\t<data>\n\t</data>\n</array>"},
    };
    for (const auto& [value, text] : cases) EXPECT_EQ(body(value), text + "\n");
}

TEST(XmlWriter, StreamsLargeDocumentsAndRefusesNullsBeforeWritingAnything) {
    test::TempDir dir;
    const auto write_file = [](const Value& document, const std::filesystem::path& to) {
        const sys::UniqueFd fd(::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        return write_xml(document, fd.get(), nullptr);
    };
    EXPECT_FALSE(write_file(Dictionary{{"a", Array{1, Null{}}}}, dir / "null.plist"));
    EXPECT_EQ(test::read_text(dir / "null.plist"), "");

    Array rows;
    for (int i = 0; i < 100000; ++i) rows.emplace_back("row " + std::to_string(i) + " <&>");
    const Value big = Dictionary{{"rows", rows}};
    const std::string expected = to_xml(big);
    ASSERT_GT(expected.size(), std::size_t{2} << 20);  // several buffer flushes
    ASSERT_TRUE(write_file(big, dir / "big.plist"));
    EXPECT_EQ(test::read_text(dir / "big.plist"), expected);

    const sys::UniqueFd full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    std::string error;
    if (full) {
        EXPECT_FALSE(write_xml(big, full.get(), &error));
        EXPECT_NE(error.find("could not be written"), std::string::npos) << error;
    }
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
    for (const char* prefix : {"<string><![CDATA[']]></string>", "<?x '?>", "<dict a='>"})
        EXPECT_FALSE(parse_xml(prefix + nested(300000, "<array>"), &error)) << prefix;
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
