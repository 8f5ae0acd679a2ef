#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <limits>
#include <stdexcept>

#include "PythonPlistlib.h"
#include "libs/plist/XmlWriter.h"
#include "support/TempDir.h"

namespace {

using plist::Array;
using plist::Data;
using plist::Date;
using plist::Dictionary;
using plist::Integer;
using plist::Value;

const std::string kPrologue =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
    "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
const std::string kEpilogue = "</plist>\n";

// The document between Apple's exact prologue and epilogue.
std::string body(const Value& v) {
    const std::string xml = plist::to_xml(v);
    EXPECT_TRUE(xml.starts_with(kPrologue) && xml.ends_with(kEpilogue)) << xml;
    return xml.substr(kPrologue.size(), xml.size() - kPrologue.size() - kEpilogue.size());
}

TEST(XmlWriter, LaysOutDocumentsAsApplesWriter) {
    const Value doc = Dictionary{
        {"b", Array{}}, {"a", Dictionary{}},      {"B", ""},
        {"n", -7},      {"u", Integer{-1, true}}, {"t", true},
        {"f", false},   {"esc", "a<b>&c\"'"},     {"x<y", Array{Dictionary{{"k", "v"}}}},
    };
    EXPECT_EQ(
        body(doc),
        "<dict>\n"
        "\t<key>B</key>\n\t<string></string>\n"
        "\t<key>a</key>\n\t<dict/>\n"
        "\t<key>b</key>\n\t<array/>\n"
        "\t<key>esc</key>\n\t<string>a&lt;b&gt;&amp;c\"'</string>\n"
        "\t<key>f</key>\n\t<false/>\n"
        "\t<key>n</key>\n\t<integer>-7</integer>\n"
        "\t<key>t</key>\n\t<true/>\n"
        "\t<key>u</key>\n\t<integer>18446744073709551615</integer>\n"
        "\t<key>x&lt;y</key>\n\t<array>\n\t\t<dict>\n\t\t\t<key>k</key>\n\t\t\t<string>v</string>\n"
        "\t\t</dict>\n\t</array>\n"
        "</dict>\n");
}

TEST(XmlWriter, EventInterfaceWritesWhatTheValueWouldWrite) {
    std::string out;
    {
        plist::XmlWriter writer(&out);
        writer.begin_document();
        writer.begin_array();
        writer.string("x&y");
        writer.begin_dict();
        writer.key("k");
        writer.value(Array{1});
        writer.end_dict();
        writer.end_array();
        writer.end_document();
        EXPECT_THROW(writer.value(Array{plist::Null{}}), std::invalid_argument);
    }
    EXPECT_EQ(out, plist::to_xml(Array{"x&y", Dictionary{{"k", Array{1}}}}));
}

TEST(XmlWriter, PrintsRealsAndDatesAsApplesWriter) {
    const std::pair<Value, const char*> cases[] = {
        {0.1, "<real>0.10000000000000001</real>"},
        {0.0, "<real>0.0</real>"},
        {-0.0, "<real>0.0</real>"},
        {1e300, "<real>1.0000000000000001e+300</real>"},
        {std::numeric_limits<double>::quiet_NaN(), "<real>nan</real>"},
        {-std::numeric_limits<double>::infinity(), "<real>-infinity</real>"},
        {Date{-0.5}, "<date>2000-12-31T23:59:59Z</date>"},  // rounded down, not toward zero
        {Date{-978307200.25}, "<date>1969-12-31T23:59:59Z</date>"},
        {Date{-63114076800}, "<date>0000-12-30T00:00:00Z</date>"},  // distantPast
    };
    for (const auto& [value, text] : cases) EXPECT_EQ(body(value), std::string(text) + "\n");
}

Data first_bytes(std::size_t n) {
    Data data(n);
    for (std::size_t i = 0; i < n; ++i) data[i] = static_cast<std::uint8_t>(i);
    return data;
}

TEST(XmlWriter, WrapsBase64ByDepth) {
    const std::string base64_of_60 =
        "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7";
    for (const auto& [depth, line] : {std::pair{0, 76}, {1, 68}, {9, 12}}) {
        Value v = first_bytes(60);
        for (int i = 0; i < depth; ++i) v = Array{v};
        const std::string tags(static_cast<std::size_t>(depth), '\t');
        const std::string lines(static_cast<std::size_t>(std::min(depth, 8)), '\t');
        std::string expected = "\n" + tags + "<data>\n";
        for (std::size_t pos = 0; pos < base64_of_60.size(); pos += line) {
            expected += lines + base64_of_60.substr(pos, line) + "\n";
        }
        expected += tags + "</data>\n";
        EXPECT_NE(("\n" + body(v)).find(expected), std::string::npos) << "depth " << depth;
    }
    EXPECT_EQ(body(first_bytes(2)), "<data>\nAAE=\n</data>\n");
    EXPECT_EQ(body(Array{Data{}}), "<array>\n\t<data>\n\t</data>\n</array>\n");
}

TEST(XmlWriter, RefusesNullsBeforeWritingAnything) {
    const Value with_null = Dictionary{{"a", Array{1, plist::Null{}}}};
    EXPECT_TRUE(plist::contains_null(with_null));
    test::TempDir dir;
    std::string error;
    EXPECT_FALSE(plist::write_xml_file(with_null, dir / "x.plist", &error));
    EXPECT_FALSE(std::filesystem::exists(dir / "x.plist"));
}

TEST(XmlWriter, StreamsLargeDocumentsIntoFilesItReplaces) {
    Array rows;
    for (int i = 0; i < 100000; ++i) rows.emplace_back("row " + std::to_string(i) + " <&>");
    const Value big = Dictionary{{"rows", rows}};
    const std::string expected = plist::to_xml(big);
    ASSERT_GT(expected.size(), std::size_t{2} << 20);  // several buffer flushes

    test::TempDir dir;
    const auto file = dir.write("out.plist", std::string(5 << 20, 'x'));
    std::string error;
    ASSERT_TRUE(plist::write_xml_file(big, file, &error)) << error;
    EXPECT_EQ(test::read_text(file), expected);
    ASSERT_TRUE(plist::write_xml_file(Dictionary{}, file, &error)) << error;
    EXPECT_EQ(test::read_text(file), kPrologue + "<dict/>\n" + kEpilogue);

    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    if (full < 0) return;
    plist::XmlWriter writer(full);
    writer.write_document(big);
    EXPECT_FALSE(writer.flush());
    ::close(full);
}

// Text XML cannot carry (control characters, invalid UTF-8, surrogates, non-characters) and
// what replaces it.
const std::string kHostile = "a\001b\377c\355\240\200d\357\277\276";
const std::string kReplaced = "a\uFFFDb\uFFFDc\uFFFD\uFFFD\uFFFDd\uFFFD";

TEST(XmlWriter, TextThatXmlCannotCarryIsReplaced) {
    const std::string xml = plist::to_xml(Value(Array{kHostile, "caf\xc3\xa9\t\n"}));
    EXPECT_NE(xml.find("<string>" + kReplaced + "</string>"), std::string::npos) << xml;
    EXPECT_NE(xml.find("<string>caf\xc3\xa9\t\n</string>"), std::string::npos);
}

TEST(XmlWriter, OutputLoadsInPythonsPlistlib) {
    if (!plist_test::python_available()) GTEST_SKIP() << "python3 is not installed";
    const auto doc = [](const std::string& odd) {
        return Value(Dictionary{
            {"text", Array{"", "caf\xc3\xa9 \xf0\x9f\x98\x80 \"q\" & <tag>", "\t", odd}},
            {odd, Array{0.1, 0.0, 1e300, -2.5, std::numeric_limits<double>::infinity(), -7,
                        std::numeric_limits<long long>::min(), Integer{-1, true}, true, false}},
            {"dates", Array{Date{-0.5}, Date{744888422.75}, Date{63113904000}}},
            {"data", Array{first_bytes(60), Data{}, Array{Array{first_bytes(7)}}}},
            {"empty", Dictionary{{"a", Array{}}, {"d", Dictionary{}}}},
        });
    };
    test::TempDir dir;
    const auto file = dir / "doc.plist";
    std::string error;
    ASSERT_TRUE(plist::write_xml_file(doc(kHostile), file, &error)) << error;
    EXPECT_EQ(plist_test::python_dumps({file.string()})[file.string()],
              plist_test::canonical(doc(kReplaced)));
}

}  // namespace
