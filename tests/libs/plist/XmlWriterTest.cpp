#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <limits>
#include <stdexcept>

#include "libs/plist/XmlWriter.h"
#include "libs/sys/UniqueFd.h"
#include "support/TempDir.h"

namespace plist {
namespace {

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

TEST(XmlWriter, LaysOutDocumentsAsApplesWriter) {
    const Value doc = Dictionary{{"b", Array{}},
                                 {"a", Dictionary{}},
                                 {"B", ""},
                                 {"x<y&\"'", Array{Dictionary{{"k", -7}}, true, false}}};
    EXPECT_EQ(body(doc),
              "<dict>\n"
              "\t<key>B</key>\n\t<string></string>\n"
              "\t<key>a</key>\n\t<dict/>\n"
              "\t<key>b</key>\n\t<array/>\n"
              "\t<key>x&lt;y&amp;\"'</key>\n\t<array>\n"
              "\t\t<dict>\n\t\t\t<key>k</key>\n\t\t\t<integer>-7</integer>\n\t\t</dict>\n"
              "\t\t<true/>\n\t\t<false/>\n\t</array>\n"
              "</dict>\n");
}

TEST(XmlWriter, EventInterfaceWritesWhatTheValueWouldWrite) {
    std::string out;
    {
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
    }
    EXPECT_EQ(out, to_xml(Array{"x&y", Dictionary{{"k", Array{1}}}, Array{}}));
}

TEST(XmlWriter, PrintsRealsAndDatesAsApplesWriter) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    const std::pair<Value, const char*> cases[] = {
        {0.1, "<real>0.10000000000000001</real>"},
        {0.0, "<real>0.0</real>"},
        {-0.0, "<real>0.0</real>"},
        {kNaN, "<real>nan</real>"},
        {-std::numeric_limits<double>::infinity(), "<real>-infinity</real>"},
        {Date{-0.5}, "<date>2000-12-31T23:59:59Z</date>"},          // rounded down, not toward zero
        // Years readers refuse (distantPast, a corrupt date) are held at the nearest end.
        {Date{-63114076800}, "<date>0001-01-01T00:00:00Z</date>"},
        {Date{1e13}, "<date>9999-12-31T23:59:59Z</date>"},
        {Date{kNaN}, "<date>2001-01-01T00:00:00Z</date>"},
    };
    for (const auto& [value, text] : cases) EXPECT_EQ(body(value), std::string(text) + "\n");
}

TEST(XmlWriter, WrapsBase64ByDepth) {
    Data sixty(60);
    for (std::size_t i = 0; i < sixty.size(); ++i) sixty[i] = static_cast<std::uint8_t>(i);
    const std::string base64 =
        "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7";
    for (const auto& [depth, line] : {std::pair{0, 76}, {1, 68}, {9, 12}}) {
        Value v = sixty;
        for (int i = 0; i < depth; ++i) v = Array{v};
        const std::string tags(depth, '\t'), lines(std::min(depth, 8), '\t');
        std::string expected = "\n" + tags + "<data>\n";
        for (std::size_t pos = 0; pos < base64.size(); pos += line)
            expected += lines + base64.substr(pos, line) + "\n";
        EXPECT_NE(("\n" + body(v)).find(expected + tags + "</data>\n"), std::string::npos) << depth;
    }
    EXPECT_EQ(body(Data{0, 1}), "<data>\nAAE=\n</data>\n");
    EXPECT_EQ(body(Array{Data{}}), "<array>\n\t<data>\n\t</data>\n</array>\n");
}

// Writes the document into a new file; the writer's own outcome.
bool write_file(const Value& document, const std::filesystem::path& file) {
    const sys::UniqueFd fd(::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    std::string error;
    return write_xml(document, fd.get(), &error);
}

TEST(XmlWriter, StreamsLargeDocumentsAndRefusesNullsBeforeWritingAnything) {
    test::TempDir dir;
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

}  // namespace
}  // namespace plist
