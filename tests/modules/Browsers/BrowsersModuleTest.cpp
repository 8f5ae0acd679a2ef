#include <gtest/gtest.h>

#include <map>

#include "libs/apple/Bookmark.h"
#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"
#include "libs/sys/Exception.h"
#include "libs/sys/ProgramRunner.h"
#include "support/FakeMachine.h"
#include "support/ModuleRun.h"
#include "support/SqliteFile.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using plist::Array, plist::Dictionary, plist::Value;

const fs::path kCorpus = TVTRIAGE_CORPUS_DIR;
const std::string kChrome = "/Library/Application Support/Google/Chrome/Default";
const std::string kFirefox = "/Library/Application Support/Firefox/Profiles";

// Every entry under root: its kind and, for a file, its bytes.
std::map<std::string, std::string> manifest(const fs::path& root) {
    std::map<std::string, std::string> entries;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const std::string name = entry.path().lexically_relative(root).string();
        entries[name] = entry.is_regular_file() ? test::read_text(entry.path()) : "(folder)";
    }
    return entries;
}

const Dictionary& at(const Dictionary& dict, const std::string& key) {
    auto it = dict.find(key);
    if (it == dict.end() || !it->second.as_dict())
        throw std::runtime_error("no dictionary: " + key);
    return *it->second.as_dict();
}

std::vector<std::string> keys(const Dictionary& dict) {
    std::vector<std::string> names;
    for (const auto& entry : dict) names.push_back(entry.first);
    return names;
}

TEST(BrowsersModule, NoBrowserDataGivesTheThreeKeysAndAnEmptyFilesFolder) {
    test::TempDir root;
    test::ModuleRun run = test::run_module("Browsers", test::fake_machine(root.path()));
    EXPECT_EQ(run.report, modules::ModuleReport{});
    EXPECT_EQ(run.plist,
              Value(Dictionary{
                  {"Safari", Dictionary{}}, {"Chrome", Dictionary{}}, {"Firefox", Dictionary{}}}));
    EXPECT_TRUE(run.logged("MAIN - No info.plist at /Application/Safari.app/Contents/Info.plist."));
    EXPECT_TRUE(run.logged("Total debug paths length: 0"));
    EXPECT_EQ(run.scratch->output().list(run.scratch->folder("Browsers").path() / "Files"),
              std::vector<std::string>{});
}

TEST(BrowsersModule, AnUnreadableFirefoxGeneralPreferenceFileEndsTheModule) {
    test::TempDir root;
    root.write("/Users/ann/Library/Preferences/org.mozilla.firefox.plist", "<plist><dict>");
    EXPECT_THROW(test::run_module("Browsers", test::fake_machine(root.path())), sys::Exception);
}

// One tree with the three browsers of three users, from real files where the corpus has them.
TEST(BrowsersModule, CollectsEveryUserAndLeavesTheExaminedTreeAsItWas) {
    if (!fs::exists(kCorpus)) GTEST_SKIP() << "corpus not present at " << kCorpus;
    test::TempDir root;
    auto copy = [&](const std::string& from, const std::string& to) {
        root.mkdir(fs::path(to).parent_path().string());
        fs::copy_file(kCorpus / from, root / to);
    };
    // ann: Safari with both history files, Chrome with both JSON files, Firefox with a real
    // profile, a profile holding one annotation table, and a stray file.
    const std::string ann = "/Users/ann", safari = ann + "/Library/Safari";
    copy("safari/artemis/History.db", safari + "/History.db");
    copy("safari/plaso/History.plist", safari + "/History.plist");
    copy("safari/artemis/Downloads.plist", safari + "/Downloads.plist");
    copy("safari/prefs_macos15/com.apple.Safari.plist",
         ann + "/Library/Preferences/com.apple.Safari.plist");
    for (const char* file : {"Preferences", "Secure Preferences", "History"}) {
        copy(std::string("chrome/flutter_chrome111_win/") + file, ann + kChrome + "/" + file);
    }
    const std::string profile = ann + kFirefox + "/abc.default";
    copy("firefox/browserexport/places.sqlite", profile + "/places.sqlite");
    copy("firefox/profile_linux_ff80/prefs.js", profile + "/prefs.js");
    root.write(profile + "/extensions.json",
               R"({"schemaVersion": 1, "top": null, "addons": [{"id": "a", "sourceURI": null,
                   "defaultLocale": {"creator": null, "deep": {"x": null}}, "list": [null]}]})");
    test::make_database(root / (ann + kFirefox + "/annos/places.sqlite"),
                        "CREATE TABLE moz_annos (id); CREATE TABLE moz_places (url);");
    root.write(ann + kFirefox + "/.DS_Store", "stray");
    // The first download's file exists; another one's does not.
    const Dictionary downloads =
        *plist::parse(test::read_text(root / (safari + "/Downloads.plist")))->as_dict();
    const Array& entries = *downloads.at("DownloadHistory").as_array();
    const auto& blob = *entries[0].find("DownloadEntryBookmarkBlob")->as_data();
    const std::string target =
        *apple::parse_bookmark(std::span<const std::uint8_t>(blob.data(), blob.size()))->path;
    root.write(target, "package");

    // bob: a Safari history with rows only in its journal, kept open by a running browser; a
    // Chrome profile whose Preferences cannot be read, two versions of one extension and mixed
    // case table names; a Firefox downloads database locked by another connection.
    const std::string bob = "/Users/bob";
    test::SqliteFile browser(root / (bob + "/Library/Safari/History.db"));
    browser.run("PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0;")
        .run("CREATE TABLE history_items (url); INSERT INTO history_items VALUES ('https://a');");
    root.write(bob + "/Library/Safari/Downloads.plist",
               plist::to_xml(Value(Dictionary{{"Other", 1}})));
    root.mkdir(bob + kChrome + "/Preferences");
    root.write(bob + kChrome + "/Secure Preferences", "{}");
    test::make_database(root / (bob + kChrome + "/History"),
                        "CREATE TABLE Download_Slices (a); CREATE TABLE urls (u);");
    root.write(bob + kChrome + "/Extensions/ext/1.0/manifest.json", R"({"version": "1.0"})");
    root.write(bob + kChrome + "/Extensions/ext/2.0/manifest.json", R"({"version": "2.0"})");
    test::SqliteFile locker(root / (bob + kFirefox + "/p/downloads.sqlite"));
    locker.run("CREATE TABLE moz_downloads (id); INSERT INTO moz_downloads VALUES (7);")
        .run("BEGIN EXCLUSIVE; INSERT INTO moz_downloads VALUES (8);");
    // cara: Chrome's property list but no profile; Shared: nothing at all.
    copy("chrome/prefs_2013/com.google.Chrome.plist",
         "/Users/cara/Library/Preferences/com.google.Chrome.plist");
    root.mkdir("/Users/Shared");

    const auto before = manifest(root.path());
    test::ModuleRun run = test::run_module("Browsers", test::fake_machine(root.path()));
    EXPECT_EQ(manifest(root.path()), before);
    ASSERT_TRUE(run.plist);
    const Dictionary& report = *run.plist->as_dict();

    // Safari: the database wins over History.plist; bookmarks resolved or explained.
    const Dictionary& ann_safari = at(at(report, "Safari"), safari);
    EXPECT_TRUE(at(ann_safari, "History").contains("history_visits"));
    const Array& resolved = *at(ann_safari, "Downloads").at("DownloadHistory").as_array();
    EXPECT_EQ(*resolved[0].find("DownloadEntryBookmarkBlob"), Value(target));
    EXPECT_EQ(*resolved[2].find("DownloadEntryBookmarkBlob"),
              Value("Error solving bookmark data: The file does not exist."));
    EXPECT_EQ(keys(at(ann_safari, "Preferences")),
              std::vector<std::string>{ann + "/Library/Preferences/com.apple.Safari.plist"});
    EXPECT_TRUE(run.logged("Returning empty preferences dictionary."));
    EXPECT_TRUE(run.logged("MAIN - Skipping user: Shared"));
    const Dictionary& bob_history =
        at(at(at(report, "Safari"), bob + "/Library/Safari"), "History");
    EXPECT_EQ(*bob_history.at("history_items").find("Data"), Value(Array{Array{"https://a"}}));
    // Without "DownloadHistory" the file comes back whole, after a line that says otherwise.
    EXPECT_EQ(at(at(at(report, "Safari"), bob + "/Library/Safari"), "Downloads"),
              (Dictionary{{"Other", "1"}}));
    EXPECT_TRUE(run.logged("downloads.plist does not contain DownloadHistory key."));

    // Chrome: cara has no key; bob's preferences stop at the unreadable file.
    const Dictionary& chrome = at(report, "Chrome");
    EXPECT_EQ(keys(chrome), (std::vector<std::string>{ann, bob}));
    EXPECT_EQ(keys(at(at(chrome, ann), "Preferences")).size(), 2u);
    EXPECT_EQ(at(at(chrome, bob), "Preferences"), Dictionary{});
    EXPECT_TRUE(run.logged("DATA object nil - cannot json serialise. Exiting."));
    EXPECT_EQ(keys(at(at(chrome, bob), "Downloads")), std::vector<std::string>{"Download_Slices"});
    EXPECT_EQ(keys(at(at(chrome, bob), "History")), std::vector<std::string>{"urls"});
    EXPECT_TRUE(at(at(chrome, ann), "Downloads").contains("downloads_url_chains"));
    EXPECT_EQ(at(at(chrome, bob), "Extensions"),
              (Dictionary{{"ext", Dictionary{{"version", "2.0"}}}}));

    // Firefox: every entry of /Users and of the profiles folder; the add-on nulls one level down.
    const Dictionary& firefox = at(report, "Firefox");
    EXPECT_EQ(keys(firefox), (std::vector<std::string>{"/Users/Shared", ann, bob, "/Users/cara",
                                                       "/Users/puffycid"}));
    const Dictionary& profiles = at(at(firefox, ann), "Profiles");
    EXPECT_EQ(at(profiles, ann + kFirefox + "/.DS_Store"),
              (Dictionary{{"Preferences & Proxy", Dictionary{}},
                          {"History", Dictionary{}},
                          {"Extensions", Dictionary{}},
                          {"Downloads", Dictionary{}}}));
    const Dictionary& real = at(profiles, profile);
    EXPECT_EQ(keys(at(real, "Downloads")),
              (std::vector<std::string>{"moz_anno_attributes", "moz_annos"}));
    EXPECT_FALSE(at(real, "History").contains("moz_annos"));
    EXPECT_TRUE(at(real, "History").contains("moz_places"));
    EXPECT_EQ(at(real, "Extensions").at("top"), Value("null value"));
    EXPECT_EQ(
        *at(real, "Extensions").at("addons").as_array()->at(0).as_dict(),
        (Dictionary{{"id", "a"},
                    {"sourceURI", "NULL"},
                    {"list", Array{"null value"}},
                    {"defaultLocale",
                     Dictionary{{"creator", "NULL"}, {"deep", Dictionary{{"x", "null value"}}}}}}));
    const Dictionary& annos = at(profiles, ann + kFirefox + "/annos");
    EXPECT_EQ(keys(at(annos, "History")), (std::vector<std::string>{"moz_annos", "moz_places"}));
    EXPECT_EQ(keys(at(annos, "Downloads")), std::vector<std::string>{"moz_annos"});
    EXPECT_TRUE(run.logged("Cannot remove history keys: moz_annos"));
    const Dictionary& locked =
        at(at(at(at(firefox, bob), "Profiles"), bob + kFirefox + "/p"), "Downloads");
    EXPECT_EQ(*locked.at("moz_downloads").find("Data"), Value(Array{Array{"7"}}));

    const std::string plistlib = sys::ProgramRunner().run(
        "python3",
        {"-c", "import plistlib,sys; print(sorted(plistlib.load(open(sys.argv[1],'rb'))))",
         (run.scratch->folder("Browsers").path() / "Browsers.plist").string()});
    EXPECT_EQ(plistlib, "['Chrome', 'Firefox', 'Safari']\n");

    // Files: raw copies under their flattened names, journals beside their databases.
    const fs::path files = run.scratch->folder("Browsers").path() / "Files";
    EXPECT_EQ(test::read_text(files / "_Users_ann_Library_Safari_History.db"),
              test::read_text(root / (safari + "/History.db")));
    EXPECT_EQ(test::read_text(files / "_Users_bob_Library_Safari_History.db-wal"),
              test::read_text(root / (bob + "/Library/Safari/History.db-wal")));
    EXPECT_TRUE(fs::exists(files / "_Users_cara_Library_Preferences_com.google.Chrome.plist"));
    EXPECT_FALSE(fs::exists(files / "_Users_ann_Library_Safari_History.plist"));
    EXPECT_TRUE(
        run.logged("ERROR: Copying debug file at path:" + ann + kChrome + "/Secure Preferences"));
    EXPECT_TRUE(run.logged("DEBUG File does not exist at path: " + profile + "/downloads.sqlite"));
}

}  // namespace
