#include "libs/apple/Bookmark.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <tuple>
#include <vector>

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
    if (fs::is_directory(kCorpus)) {
        blobs.push_back(test::read_text(kCorpus / "misc/bookmarks/macAlias.bookmark"));
    }
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
    for (const char* path : {"/Applications/Gone.app", "/Applications/Outside/passwd"}) {
        EXPECT_FALSE(resolve_bookmark(Bookmark{path, {}, {}}, files)) << path;
    }
}

}  // namespace
}  // namespace apple
