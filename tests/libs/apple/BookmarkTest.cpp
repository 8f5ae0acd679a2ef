#include "libs/apple/Bookmark.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "libs/apple/Alias.h"
#include "libs/plist/Reader.h"
#include "libs/sys/FileSystem.h"
#include "support/TempDir.h"

namespace apple {
namespace {

namespace fs = std::filesystem;
const fs::path kCorpus = TVTRIAGE_CORPUS_DIR;
constexpr std::uint32_t kPath = 0x1004, kVolume = 0x2002, kName = 0xF017;
const auto le32 = [](std::uint32_t x) {
    return std::string{char(x), char(x >> 8), char(x >> 16), char(x >> 24)};
};

// A "book" blob: a 48-byte header, then the data area (the table's offset, records padded to 4
// bytes, the table: path, date, volume, display name), offsets relative to the data area.
std::string book(std::vector<std::string> parts, std::string volume, std::string name) {
    std::string data = le32(0);
    const auto add = [&](std::uint32_t type, const std::string& payload) {
        const auto at = static_cast<std::uint32_t>(data.size());
        data +=
            le32(payload.size()) + le32(type) + payload + std::string(-payload.size() & 3, '\0');
        return le32(at);
    };
    std::string path;
    for (const auto& part : parts) path += add(0x0101, part);
    const std::string offsets[] = {add(0x0601, path),
                                   add(0x0400, std::string("\x41\xC1\xE1\xA3\0\0\0\0", 8)),
                                   add(0x0101, volume), add(0x0101, name)};
    data.replace(0, 4, le32(data.size()));
    data += le32(60) + le32(0xFFFFFFFE) + le32(1) + le32(0) + le32(4);
    const std::uint32_t keys[] = {kPath, 0x1040, kVolume, kName};
    for (int i = 0; i < 4; ++i) data += le32(keys[i]) + offsets[i] + le32(0);
    return "book" + le32(48 + data.size()) + std::string("\0\0\x04\x10", 4) + le32(48) +
           std::string(32, '\0') + data;
}

// The worked example, byte for byte: /Applications/Foo.app shown as "Foo", created in 2020.
const std::string kWorkedExample = book({"Applications", "Foo.app"}, "/", "Foo");

// An empty display name is ignored: the name falls back to the last component.
TEST(BookmarkFormat, DerivesPathAndName) {
    using Path = std::optional<std::string>;
    const std::tuple<std::vector<std::string>, std::string, Path, Path> cases[] = {
        {{"f"}, "/Volumes/USB", "/Volumes/USB/f", "f"},
        {{"Volumes", "USB", "f"}, "/Volumes/USB", "/Volumes/USB/f", "f"},
        {{"Volumes", "USB2", "f"}, "/Volumes/USB", "/Volumes/USB/Volumes/USB2/f", "f"},
        {{"..", "..", "..", "Users", "f.pkg"}, "/System/Volumes/Data", "/Users/f.pkg", "f.pkg"},
        {{"..", "..", ".", "etc", "x", ".."}, "/", "/etc", "etc"},
        {{"a/../../etc", "passwd"}, "/", {}, {}},
        {{std::string("a\0b", 3)}, "/", {}, {}},
    };
    for (const auto& [parts, volume, path, name] : cases) {
        EXPECT_EQ(parse_bookmark(book(parts, volume, "")),
                  (Bookmark{path, name, plist::Date{600000000.0}}))
            << parts.front();
    }
}

TEST(BookmarkFormat, HostileBytesNeverReadOutOfBounds) {
    std::string cyclic = kWorkedExample;            // its one table, at 0x90, is the best guess:
    cyclic.replace(0x98, 8, le32(2) + le32(0x60));  // not the target's, and its own successor
    cyclic.replace(0xA8, 4, le32(0xFFFFFFF0));      // the path's offset past the end
    cyclic.replace(0x84, 4, le32(0xFFFFFF00));      // the name's length past the end
    EXPECT_EQ(parse_bookmark(cyclic), (Bookmark{{}, {}, plist::Date{600000000.0}}));

    std::vector<std::string> blobs{kWorkedExample};
    if (fs::is_directory(kCorpus))
        blobs.push_back(test::read_text(kCorpus / "misc/bookmarks/macAlias.bookmark"));
    std::mt19937 random(1);
    for (const std::string& blob : blobs) {
        for (std::size_t cut = 0; cut < blob.size(); ++cut) {  // the table is last: none survives
            std::string prefix = blob.substr(0, cut);
            if (cut >= 8) prefix.replace(4, 4, le32(cut));  // the header agreeing with the cut
            EXPECT_FALSE(parse_bookmark(prefix)) << "cut at " << cut;
        }
        std::size_t survived = 0;
        for (int round = 0; round < 3000; ++round) {
            std::string damaged = blob;
            for (int i = 1 + round % 8; i > 0; --i)
                damaged[12 + random() % (blob.size() - 12)] = char(random());
            const auto bookmark = parse_bookmark(damaged);
            if (!bookmark) continue;
            ++survived;
            const std::string path = bookmark->path.value_or("/");
            EXPECT_TRUE(path.starts_with('/') && path.find("/../") == path.npos) << path;
        }
        EXPECT_GT(survived, 0u);  // the damage reached past the container checks
    }
}

TEST(BookmarkCorpus, RealBlobsGiveTheirTargets) {
    if (!fs::is_directory(kCorpus)) GTEST_SKIP() << "no corpus at " << kCorpus;
    for (const char* file : {"safari/artemis/Downloads.plist", "safari/plaso/Downloads.plist"}) {
        const auto root = plist::parse(test::read_text(kCorpus / file));
        const auto* history = root ? root->find("DownloadHistory") : nullptr;
        ASSERT_TRUE(history && history->as_array() && !history->as_array()->empty()) << file;
        for (const auto& entry : *history->as_array()) {
            const auto* blob = entry.find("DownloadEntryBookmarkBlob");
            const auto* path = entry.find("DownloadEntryPath");
            ASSERT_TRUE(blob && blob->as_data() && path && path->as_string());
            const std::string name = path->as_string()->substr(path->as_string()->rfind('/'));
            const auto bookmark = parse_bookmark(*blob->as_data());
            const std::string got = bookmark ? bookmark->path.value_or("") : "";
            EXPECT_TRUE(got.starts_with('/') && got.ends_with(name)) << got << " for " << name;
        }
    }

    const std::pair<const char*, const char*> raw[] = {
        {"loginitem.bookmark", "/Applications/Syncthing.app"},
        {"systemevents.bookmark", "/System/Library/CoreServices/System Events.app"},
        {"macAlias.bookmark", "/Users/puffycid/Downloads/powershell-7.2.5-osx-arm64.pkg"},
        {"bad_content.bookmark", "(refused)"},
        {"bad_header.bookmark", "(refused)"},
    };
    for (const auto& [file, path] : raw) {
        const std::string blob = test::read_text(kCorpus / "misc/bookmarks" / file);
        ASSERT_FALSE(blob.empty()) << file;
        const auto bookmark = parse_bookmark(blob);
        EXPECT_EQ(bookmark ? bookmark->path.value_or("(no path)") : "(refused)", path) << file;
    }
}

TEST(BookmarkResolve, WorkedExampleDecodesAndResolvesUnderTheRoot) {
    const auto bookmark = parse_bookmark(kWorkedExample);  // created 2020-01-06T10:40:00Z
    EXPECT_EQ(bookmark, (Bookmark{"/Applications/Foo.app", "Foo", plist::Date{600000000.0}}));
    test::TempDir root;
    root.mkdir("Applications/Foo.app/Contents");
    root.symlink("Applications/Outside", "/etc");  // the host's /etc, not the root's
    ASSERT_TRUE(fs::exists("/etc/passwd"));
    const sys::FileSystem files(root.path());
    EXPECT_EQ(resolve_bookmark(bookmark.value(), files), "/Applications/Foo.app");
    for (const char* path : {"/Applications/Gone.app", "/Applications/Outside/passwd"})
        EXPECT_FALSE(resolve_bookmark(Bookmark{path, {}, {}}, files)) << path;
}

// Alias records give the same facts as a Bookmark.
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
    for (const auto& [tags, path, name] : cases)
        EXPECT_EQ(bookmark_from_alias(alias_v2(tags)), (Bookmark{path, name, hfs(0xC2A5E616)}));
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
