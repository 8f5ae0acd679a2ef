#include "libs/apple/KeyedArchive.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "libs/apple/Bookmark.h"
#include "libs/plist/Reader.h"
#include "support/TempDir.h"

namespace apple {
namespace {

namespace fs = std::filesystem;
const fs::path kCorpus = TVTRIAGE_CORPUS_DIR;
using Kind = ObjectBookmark::Kind;

TEST(KeyedArchiveFormat, ClassifiesObjects) {
    const plist::Data book{'b', 'o', 'o', 'k'};
    const std::pair<plist::Value, Kind> cases[] = {
        {book, Kind::Bytes},
        {plist::Dictionary{{"NS.data", book}, {"$class", plist::Dictionary{{"CF$UID", 3}}}},
         Kind::Bytes},
        {plist::Dictionary{{"NS.data", "book"}}, Kind::Cleared},
        {plist::Dictionary{}, Kind::Cleared},
        {"$null", Kind::Kept},
        {plist::Array{book}, Kind::Kept},
    };
    for (const auto& [object, kind] : cases) {
        const ObjectBookmark got = object_bookmark(object);
        EXPECT_EQ(got.kind, kind);
        EXPECT_EQ(got.bytes ? *got.bytes : plist::Data{},
                  kind == Kind::Bytes ? book : plist::Data{});
    }
}

TEST(KeyedArchiveCorpus, WalkGivesEachItemsBookmark) {
    if (!fs::is_directory(kCorpus)) GTEST_SKIP() << "no corpus at " << kCorpus;
    const std::pair<const char*, std::vector<Bookmark>> cases[] = {
        {"loginitems/plaso/backgrounditems.btm",  // binary, NSHashTable
         {{"/Applications/iTunes.app/Contents/MacOS/iTunesHelper.app", "iTunesHelper",
           plist::Date{521576972}}}},
        {"loginitems/artemis_sierra/backgrounditems.btm",  // XML, NSSet
         {{"/Applications/Syncthing.app", "Syncthing", plist::Date{665473989}}}},
        {"loginitems/artemis_poisonapple/backgrounditems.btm",
         {{"/Applications/LuLu.app", "LuLu", plist::Date{657495833}},
          {"/System/Library/CoreServices/System Events.app", "System Events",
           plist::Date{599558400}},
          {"/Users/sur/Library/Python/3.8/lib/python/site-packages/poisonapple/auxiliary/"
           "testing.app",
           "testing", plist::Date{678248174.9226916}}}},
        {"loginitems/artemis_malformed/bad_bookmark.btm", {}},  // its one bookmark is truncated
        {"misc/bookmarks/loginitem.bookmark", {}},              // not a property list
    };
    for (const auto& [file, expected] : cases) {
        const auto archive = plist::parse(test::read_text(kCorpus / file)).value_or(plist::Value());
        const plist::Array* objects = archive_objects(archive);
        EXPECT_EQ(objects != nullptr, std::string_view(file).ends_with(".btm")) << file;
        std::vector<Bookmark> got;
        for (const plist::Value& object : objects ? *objects : plist::Array{}) {
            const ObjectBookmark found = object_bookmark(object);
            if (found.kind != Kind::Bytes) continue;
            if (auto bookmark = parse_bookmark(*found.bytes)) got.push_back(std::move(*bookmark));
        }
        EXPECT_EQ(got, expected) << file;
    }
}

}  // namespace
}  // namespace apple
