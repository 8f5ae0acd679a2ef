#include "libs/apple/Alias.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "libs/plist/Reader.h"
#include "support/TempDir.h"

namespace apple {
namespace {

namespace fs = std::filesystem;
const fs::path kCorpus = TVTRIAGE_CORPUS_DIR;
const auto hfs = [](double seconds) { return plist::Date{seconds - 3061152000.0}; };

const auto be16 = [](std::size_t x) { return std::string{char(x >> 8), char(x)}; };
std::string tag(unsigned key, const std::string& value) {
    return be16(key) + be16(value.size()) + value + std::string(value.size() & 1, '\0');
}

// A version-2 record named "Café" in Mac Roman, created 0xC2A5E616 by the HFS clock.
std::string alias_v2(const std::string& tags) {
    std::string record(150, '\0');
    record.replace(6, 2, be16(2)).replace(50, 5, "\004Caf\x8E").replace(118, 4, "\xC2\xA5\xE6\x16");
    record += tags + tag(0xFFFF, "");
    return record.replace(4, 2, be16(record.size()));
}

TEST(AliasFormat, BuildsPathNameAndDate) {
    const std::string utf16 = std::string("\0a\0/\xD8\x3D\xDE\x00", 8), x = tag(18, "x");
    std::string filler;  // one tag short of the walk's bound
    for (std::size_t i = 1; i < kMaxAliasTags; ++i) filler += tag(0, "");
    const std::tuple<std::string, std::optional<std::string>, std::string> cases[] = {
        {tag(19, "/Volumes/Data/") + tag(18, "/dir/file"), "/Volumes/Data/dir/file", "Café"},
        {tag(2, "Boot:A/B:Caf\x8E:"), "/A:B/Café", "Café"},
        {tag(14, be16(4) + utf16) + x, "/x", "a/\U0001F600"},
        {tag(14, be16(5) + utf16) + x, "/x", "Café"},
        {tag(14, be16(0)) + tag(18, "Applications/../../etc/./passwd"), "/etc/passwd", "Café"},
        {tag(18, std::string("a\0b", 3)), std::nullopt, "Café"},
        {filler + x, "/x", "Café"},
        {filler + tag(0, "") + x, std::nullopt, "Café"},
    };
    for (const auto& [tags, path, name] : cases) {
        EXPECT_EQ(bookmark_from_alias(alias_v2(tags)), (Bookmark{path, name, hfs(0xC2A5E616)}));
    }
    std::string record = alias_v2(tag(17, std::string("\0\0\xBD\xD2\x6C\xEF\x80\0", 8)) + x);
    EXPECT_EQ(bookmark_from_alias(record), (Bookmark{"/x", "Café", hfs(0xBDD26CEF + 0.5)}));
    record.replace(154, 8, 8, '\0').replace(50, 1, "\x40");  // tag date unset, name past its field
    EXPECT_EQ(bookmark_from_alias(record), (Bookmark{"/x", "x", hfs(0xC2A5E616)}));
    EXPECT_EQ(bookmark_from_alias(record.replace(118, 4, 4, '\0')), (Bookmark{"/x", "x", {}}));
}

TEST(AliasFormat, DamagedRecordsGiveNothingOrAConsistentValue) {
    // The same name in the tag and the fixed part, so that losing the tag changes nothing.
    const std::string record = alias_v2(tag(14, be16(4) + std::string("\0C\0a\0f\0\xE9", 8)) +
                                        tag(18, "Applications/x") + tag(19, "/"));
    const auto full = bookmark_from_alias(record);
    ASSERT_TRUE(full && full->path && full->localized_name && full->creation_date);
    std::size_t partial = 0;
    for (std::size_t cut = 10; cut < record.size(); ++cut) {
        std::string prefix = record.substr(0, cut);
        EXPECT_FALSE(bookmark_from_alias(prefix)) << "cut at " << cut;  // size past the end
        // With the size agreeing, the cut leaves some tag's length past the end.
        const auto got = bookmark_from_alias(prefix.replace(4, 2, be16(cut)));
        partial += got && got != full;
        EXPECT_TRUE(!got ||
                    ((!got->path || got->path == full->path) &&
                     (!got->localized_name || got->localized_name == full->localized_name) &&
                     got->creation_date == full->creation_date))
            << cut;
    }
    EXPECT_GT(partial, 0u);  // some cuts got past the fixed part and lost a tag
}

TEST(AliasCorpus, RealRecordsGiveTheirTargets) {
    if (!fs::is_directory(kCorpus)) GTEST_SKIP() << "no corpus at " << kCorpus;
    const std::string itunes = "/Applications/iTunes.app/Contents/MacOS/iTunesHelper.app";
    const std::string helper = "iTunesHelper.app", list = "com.apple.loginitems.plist";
    const std::pair<std::string, std::vector<std::optional<Bookmark>>> cases[] = {
        {"loginitems/plaso/" + list, {Bookmark{itunes, helper, hfs(0xD6DE2881)}}},
        {"loginitems/osquery/" + list, {std::nullopt, Bookmark{itunes, helper, hfs(0xCE5EF886)}}},
        {"loginitems/osquery_xml/" + list,
         {Bookmark{itunes, helper, hfs(0xD43F292D)},
          Bookmark{"/private/tmp/this_does_not_exist", "this_does_not_exist", hfs(0xD66AF6FB)}}},
        // The UTC date tag, not the fixed part's local time six hours earlier.
        {"misc/aliases/mozilla/moz_downloads.preferredApplication.alias_data",
         {Bookmark{"/Applications/StuffIt Standard 9.0/StuffIt Expander.app",
                   "StuffIt Expander.app", hfs(0xBDD26CEF)}}},
        {"misc/aliases/classicbox/AppAlias.rsrc.dat",
         {Bookmark{"/AutQuit7/A/B/app", "app", hfs(0xC2A5E616)}}},
    };
    for (const auto& [file, expected] : cases) {
        const std::string bytes = test::read_text(kCorpus / file);
        const auto root = file.ends_with(".plist") ? plist::parse(bytes) : std::nullopt;
        const auto* items = root ? root->find("SessionItems") : nullptr;
        items = items ? items->find("CustomListItems") : nullptr;
        std::vector<std::optional<Bookmark>> got;
        if (!root) got.push_back(bookmark_from_alias(bytes));
        for (const plist::Value& item :
             items && items->as_array() ? *items->as_array() : plist::Array{}) {
            const plist::Value* alias = item.find("Alias");
            got.push_back(alias && alias->as_data() ? bookmark_from_alias(*alias->as_data())
                                                    : std::nullopt);
        }
        EXPECT_EQ(got, expected) << file;
    }
}

}  // namespace
}  // namespace apple
