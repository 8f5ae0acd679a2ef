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

}  // namespace
}  // namespace plist
