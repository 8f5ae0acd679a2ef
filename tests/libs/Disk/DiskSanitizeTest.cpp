#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"

namespace {

using plist::Array, plist::Dictionary, plist::Value;

// What the platform does: print the description, replace the text, parse it back.
Dictionary through_description_text(const Dictionary& dictionary) {
    std::string text = plist::describe(Value(dictionary));
    for (std::size_t at; (at = text.find("<null>")) != std::string::npos;) {
        text.replace(at, 6, "null value");
    }
    return *plist::parse_old_style(text)->as_dict();
}

TEST(DiskSanitizeJsonDict, GivesWhatTheDescriptionTextReadsBackAs) {
    const plist::Null null;
    const Dictionary report{
        {"list", Array{null, 7, -3, Array{null, true, false}}},
        {"nested", Dictionary{{"deeper", Dictionary{{"gone", null}, {"ratio", 0.5}}}}},
        {"text", "before <null> after <<null>null>>"},
        {"escapes", "quote \" slash \\ tab \t é 🙂"},
        {"<null>", "key text"},
        {"a<null>", "renamed, then replaced by the later key"},
        {"anull value", "kept"},
        {"blob", plist::Data{0xde, 0xad}},
        {"when", plist::Date{-1.5}},
        {"big", Value(18446744073709551615ull)},
    };
    const Dictionary sanitized = Disk::sanitize_json_dict(report);
    EXPECT_EQ(sanitized, through_description_text(report));
    EXPECT_EQ(sanitized.at("text"), Value("before null value after <null valuenull>>"));
    EXPECT_EQ(sanitized.at("anull value"), Value("kept"));
}

TEST(DiskSanitizeJsonDict, CleansDatabaseRowsInPlaceOfTheirText) {
    plist::TextRows rows;
    rows.begin_row();
    rows.add("<nu");
    rows.add("ll>");  // a find across two cells is no null
    rows.begin_row();
    rows.add("x<null>");
    const Dictionary sanitized = Disk::sanitize_json_dict(Dictionary{{"Data", rows}});
    EXPECT_EQ(sanitized.at("Data").as_rows()->to_array(),
              (Array{Array{"<nu", "ll>"}, Array{"xnull value"}}));
}

}  // namespace
