#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "libs/Disk/Disk.h"
#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"
#include "support/Archive.h"
#include "support/CapturedLog.h"
#include "support/FakeMachine.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using plist::Array, plist::Dictionary, plist::Value;

const fs::path kCorpus = TVTRIAGE_CORPUS_DIR;

std::string job(const Dictionary& definition) {
    return plist::to_xml(Value(definition));
}

const Dictionary& at(const Dictionary& dict, const std::string& key) {
    auto it = dict.find(key);
    if (it == dict.end() || !it->second.as_dict())
        throw std::runtime_error("no dictionary: " + key);
    return *it->second.as_dict();
}

TEST(AutorunsModule, AnEmptyMachineGivesFiveEmptyKeys) {
    test::TempDir root;
    test::ModuleRun run = test::run_module("Autoruns", test::fake_machine(root.path()));
    const Dictionary empty;
    EXPECT_EQ(run.plist, Value(Dictionary{{"launchd", empty},
                                          {"startup", empty},
                                          {"crontabs", empty},
                                          {"rcitems", empty},
                                          {"loginitems", empty}}));
    EXPECT_EQ(run.report, modules::ModuleReport{});
    EXPECT_TRUE(
        run.logged("[STARTUP] Startup path does not exist or is empty: /Library/StartupItems/"));
    EXPECT_TRUE(run.logged("[RCITEMS] rc.common file does not exist"));
    EXPECT_TRUE(run.logged("[LAUNCHD] Error in getting /Users directories list."));
}

// Broken and hostile entries: each failing collector costs only its own keys, and nothing blocks.
TEST(AutorunsModule, BrokenEntriesCostOnlyTheirOwnKeys) {
    test::TempDir root;
    root.write("/bin/sh", "shell");
    root.write("/Library/LaunchAgents/good.plist",
               job({{"ProgramArguments", Array{"/bin/sh"}}, {"Program", "/missing"}}));
    root.write("/Library/LaunchAgents/.DS_Store", "\0\0\0\1Bud1");
    ::mkfifo((root / "/Library/LaunchAgents/fifo.plist").c_str(), 0600);
    root.symlink("/Library/LaunchAgents/loop.plist", "loop.plist");
    root.symlink("/Library/LaunchAgents/outside.plist", "../../../../../../../../etc/passwd");
    root.write("/Library/LaunchAgents/empty.plist", "");
    root.write("/Library/LaunchAgents/nothing.plist", job({{"ProgramArguments", Array{}}}));
    root.mkdir("/Library/LaunchDaemons");
    root.write("/Library/LaunchAgents/truncated.plist", "bplist00\xd1\x01\x02");
    root.write("/Users/ann/Library/LaunchAgents/bad.plist",
               job({{"ProgramArguments", "/bin/sh -c x"}}));
    root.write("/Library/StartupItems/Bad/StartupParameters.plist", "{ Description = ");
    root.write("/Library/StartupItems/Bad/Bad", "bad");
    root.write("/Users/ann/Library/Preferences/com.apple.loginitems.plist",
               plist::to_xml(Value(
                   Dictionary{{"SessionItems", Dictionary{{"CustomListItems", "not a list"}}}})));
    root.symlink("/usr/lib/cron/tabs/ann", "/dev/zero");
    root.write("/usr/lib/cron/tabs/bob", "0 * * * * /bin/sh \xff\n");
    root.write("/usr/lib/cron/tabs/cid", "# /bin/sh\r\n  # /bin/sh\n");
    root.write("/etc/rc.common", "#!/bin/sh\n");

    test::ModuleRun run = test::run_module("Autoruns", test::fake_machine(root.path()));
    ASSERT_TRUE(run.plist);
    const Dictionary& report = *run.plist->as_dict();
    EXPECT_EQ(at(at(report, "launchd"), "/Library/LaunchAgents").size(), 2u);
    EXPECT_TRUE(run.logged("[LAUNCH] Launch directory count = 0 at path: /Library/LaunchDaemons"));
    EXPECT_TRUE(
        run.logged("[LAUNCHD] Error in getting content at path: /Library/LaunchAgents/fifo.plist"));
    EXPECT_TRUE(run.logged("AUTORUNS - LAUNCHD ITEMS - PATHS CRASHED"));
    EXPECT_EQ(at(report, "startup"), Dictionary{});
    EXPECT_TRUE(run.logged("AUTORUNS - STARTUP ITEMS CRASHED"));
    EXPECT_EQ(at(report, "loginitems"), Dictionary{});
    EXPECT_TRUE(run.logged("AUTORUNS - LOGIN ITEMS CRASHED"));
    // The link to a device and the text that is not UTF-8 are unreadable; the comment with
    // blanks before its "#" is searched, and the CR LF pair gives an empty line between.
    EXPECT_EQ(at(report, "crontabs"),
              (Dictionary{{"/usr/lib/cron/tabs/cid", "# /bin/sh\r\n  # /bin/sh\n"}}));
    EXPECT_TRUE(run.logged("error(261): "));
    EXPECT_TRUE(run.logged("[CRONTABS] \n"));
    EXPECT_EQ(at(report, "rcitems"), (Dictionary{{"/etc/rc.common", "#!/bin/sh\n"}}));
    EXPECT_EQ(run.report, modules::ModuleReport{"/bin/sh"});
}

// The bookmark carried along the archive walk: an object without one (a string) processes the
// last one again, in the next user's archive too, until a dictionary without data clears it.
TEST(AutorunsModule, TheCarriedBookmarkCrossesObjectsAndUsers) {
    if (!fs::exists(kCorpus)) GTEST_SKIP() << "corpus not present at " << kCorpus;
    const std::string book = test::read_text(kCorpus / "misc/bookmarks/macAlias.bookmark");
    const std::string archive =
        "/Library/Application Support/"
        "com.apple.backgroundtaskmanagementagent/backgrounditems.btm";
    auto write_archive = [&](test::TempDir& root, const std::string& user, Array objects) {
        root.write("/Users/" + user + archive,
                   plist::to_xml(Value(Dictionary{{"$objects", std::move(objects)}})));
    };
    test::TempDir root;
    write_archive(root, "ann", {"$null", plist::Data(book.begin(), book.end()), "a string"});
    write_archive(root, "bob", {"only a string"});
    write_archive(root, "cid", {Dictionary{{"NS.keys", Array{}}}, "cleared"});
    root.write("/Users/dan" + archive, "not a property list");
    test::ModuleRun run = test::run_module("Autoruns", test::fake_machine(root.path()));
    const Dictionary& login = at(*run.plist->as_dict(), "loginitems");
    const Dictionary& ann = at(login, "/Users/ann" + archive);
    ASSERT_EQ(ann.size(), 1u);
    EXPECT_TRUE(ann.begin()->second.find("Path") && ann.begin()->second.find("Date"));
    EXPECT_EQ(at(login, "/Users/bob" + archive), ann);
    EXPECT_EQ(at(login, "/Users/cid" + archive), Dictionary{});
    EXPECT_EQ(at(login, "/Users/dan" + archive), Dictionary{});
    EXPECT_TRUE(run.logged("Content null or no $objects key."));
    EXPECT_EQ(run.report.size(), 1u);
}

// The real program over a tree of real persistence files: every place's executable is sampled,
// and one executable named by two places is listed once.
TEST(AutorunsModule, EveryPlacesExecutablesReachTheSamples) {
    if (!fs::exists(kCorpus)) GTEST_SKIP() << "corpus not present at " << kCorpus;
    test::TempDir root, home;
    const std::string helper = "/Applications/iTunes.app/Contents/MacOS/iTunesHelper.app";
    root.write(helper + "/Contents/Info.plist",
               plist::to_xml(Value(Dictionary{{"CFBundleExecutable", "iTunesHelper"}})));
    root.write(helper + "/Contents/MacOS/iTunesHelper", "helper");
    const std::string login = "/Users/ann/Library";
    root.mkdir(login + "/Preferences");
    fs::copy_file(kCorpus / "loginitems/osquery_xml/com.apple.loginitems.plist",
                  root / (login + "/Preferences/com.apple.loginitems.plist"));
    const std::string archive =
        login + "/Application Support/com.apple.backgroundtaskmanagementagent";
    root.mkdir(archive);
    fs::copy_file(kCorpus / "loginitems/plaso/backgrounditems.btm",
                  root / (archive + "/backgrounditems.btm"));
    root.write("/usr/local/bin/agent", "agent");
    root.write("/Library/LaunchAgents/agent.plist",
               job({{"Program", "/usr/local/bin/agent"}, {"ProgramArguments", Array{}}}));
    root.mkdir("/Library/LaunchDaemons");
    root.mkdir("/System/Library");
    fs::copy(kCorpus / "launchd/clean-osx_mojave/LaunchDaemons",
             root / "System/Library/LaunchDaemons");
    root.write("/usr/local/bin/backup tool", "backup");
    root.write("/usr/lib/cron/tabs/ann", "*/5 * * * * /usr/local/bin/backup\\ tool > /dev/null\n");
    root.mkdir("/Library/StartupItems/Apache");
    fs::copy_file(kCorpus / "startup/StartupItems/Apache/StartupParameters.plist",
                  root / "/Library/StartupItems/Apache/StartupParameters.plist");
    root.write("/Library/StartupItems/Apache/Apache", "apache");
    root.write("/Library/StartupItems/NoParameters/NoParameters", "no parameters");
    root.write("/Library/StartupItems/README", "a plain file is no item");
    root.mkdir("/Library/StartupItems/Empty");

    const fs::path zip = home / "out.zip";
    const std::string command = std::string(TVTRIAGE_BINARY) + " --quiet --root '" +
                                root.path().string() + "' --modules Autoruns --workdir '" +
                                home.path().string() + "' --output '" + zip.string() + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);

    const Dictionary autoruns =
        *plist::parse(test::zip_member(zip, "Autoruns/Autoruns.plist"))->as_dict();
    EXPECT_EQ(at(at(at(autoruns, "loginitems"), login + "/Preferences/com.apple.loginitems.plist"),
                 "iTunesHelper"),
              (Dictionary{{"HideOnLaunch", false},
                          {"App_path", helper},
                          {"Path", helper + "/Contents/MacOS/iTunesHelper"}}));
    EXPECT_EQ(at(at(autoruns, "launchd"), "/System/Library/LaunchDaemons").size(), 8u);
    EXPECT_TRUE(at(at(autoruns, "startup"), "/Library/StartupItems/")
                    .contains("/Library/StartupItems/Apache"));

    const Dictionary samples =
        *plist::parse(test::zip_member(zip, "Samples/Samples.plist"))->as_dict();
    const sys::FileSystem files(root.path());
    test::CapturedLog quiet;
    for (const std::string& path :
         {helper + "/Contents/MacOS/iTunesHelper", std::string("/usr/local/bin/agent"),
          std::string("/usr/local/bin/backup tool"),
          std::string("/Library/StartupItems/Apache/Apache")}) {
        const std::string md5 = Disk::get_file_md5(files, path);
        EXPECT_EQ(samples.at(path), Value(Dictionary{{"md5", md5}})) << path;
        EXPECT_EQ(test::zip_member(zip, "Samples/" + md5), test::read_text(root / path)) << path;
    }
    EXPECT_EQ(test::zip_member(zip, "tvtriage.log").find("MODULE CRASHED"), std::string::npos);
}

}  // namespace
