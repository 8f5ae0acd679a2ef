#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"
#include "libs/plist/Reader.h"
#include "libs/sys/Log.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/TempDir.h"

namespace {

using Lines = std::vector<std::string>;

TEST(DiskRedirectLog, SecondRedirectionAppendsToTheSameFile) {
    test::TempDir folder;
    test::CapturedLog restore_log_afterwards;
    folder.write("Net.log", "from an earlier run\n");

    Disk::redirectLog(folder.path(), "Net.log");
    sys::log_line("first");
    Disk::redirectLog(folder.path(), "Other.log");
    sys::log_line("elsewhere");
    Disk::redirectLog(folder.path(), "Net.log");
    sys::log_line("second");

    const std::string text = test::read_text(folder / "Net.log");
    EXPECT_EQ(text.rfind("from an earlier run\n", 0), 0u);
    EXPECT_EQ(test::log_messages(text.substr(20)), (Lines{"first", "second"}));
    EXPECT_EQ(test::log_messages(test::read_text(folder / "Other.log")), Lines{"elsewhere"});
}

TEST(DiskGetFile, ReadsUtf8TextAndRefusesWhatIsNotText) {
    test::TempDir root;
    root.write("etc/hosts", "127.0.0.1 localhost\n# caf\xc3\xa9\n");
    root.write("etc/latin1", "caf\xe9\n");
    root.mkdir("etc/folder");
    const sys::FileSystem files(root.path());
    test::CapturedLog log;

    EXPECT_EQ(Disk::getFile(files, "/etc/hosts", "hosts"), "127.0.0.1 localhost\n# caf\xc3\xa9\n");
    EXPECT_EQ(Disk::getFile(files, "/etc/missing", "resolv.conf"), "");
    EXPECT_EQ(Disk::getFile(files, "/etc/latin1", "latin1"), "");
    EXPECT_EQ(Disk::getFile(files, "/etc/folder", "folder"), "");

    EXPECT_EQ(test::log_messages(log.text()),
              (Lines{"Getting the hosts file...", "Getting the resolv.conf file...",
                     "resolv.conf file does not exist!", "Getting the latin1 file...",
                     "latin1 file does not exist!", "Getting the folder file...",
                     "folder file does not exist!"}));
}

TEST(DiskWritePlist, WritesTheDictionaryAsXmlAndReplacesAnOldFile) {
    test::TempDir folder;
    const auto file = folder.write("Net.plist", std::string(5000, 'x'));
    const plist::Dictionary report{
        {"hosts", "127.0.0.1 localhost"}, {"lsof", plist::Array{"a", "b"}}, {"count", 3}};
    test::CapturedLog log;

    Disk::write_plist(plist::Value(report), file);

    const auto read_back = plist::parse(test::read_text(file));
    ASSERT_TRUE(read_back);
    EXPECT_EQ(*read_back, plist::Value(report));
    EXPECT_EQ(test::log_messages(log.text()),
              (Lines{"DISK - Writing final plist at path: " + file.string(),
                     "DISK - Finished writing final plist."}));
}

TEST(DiskWritePlist, NullFallsBackToTheDescriptionAsOneString) {
    test::TempDir folder;
    const auto file = folder.write("Browsers.plist", "old content");
    const plist::Dictionary report{
        {"Chrome", plist::Dictionary{{"homepage", plist::Null{}}, {"name", "x"}}}};
    test::CapturedLog log;

    Disk::write_plist(plist::Value(report), file);

    const std::string written = test::read_text(file);
    EXPECT_EQ(written.rfind("<?xml", 0), 0u) << "the failed attempt must leave nothing before";
    const auto read_back = plist::parse(written);
    ASSERT_TRUE(read_back);
    ASSERT_TRUE(read_back->as_string());
    EXPECT_EQ(*read_back->as_string(), plist::describe(plist::Value(report)));
    EXPECT_NE(read_back->as_string()->find("\"<null>\""), std::string::npos);

    EXPECT_EQ(test::log_messages(log.text()),
              (Lines{"DISK - Writing final plist at path: " + file.string(),
                     "ERROR - In writing final plist at path: " + file.string(),
                     "Property list invalid for format: 100 (property lists cannot contain "
                     "objects of type 'CFNull')",
                     "Trying to write the dictionary as string.",
                     "DISK - Finished writing final plist."}));
}

TEST(DiskWritePlist, UnwritableFileIsLoggedAndNeverThrows) {
    test::TempDir folder;
    const auto file = folder / "no-such-folder/Net.plist";
    test::CapturedLog log;

    EXPECT_NO_THROW(Disk::write_plist(plist::Value(plist::Dictionary{{"a", "b"}}), file));

    const auto messages = test::log_messages(log.text());
    ASSERT_EQ(messages.size(), 7u) << log.text();
    EXPECT_EQ(messages[1], "ERROR - In writing final plist at path: " + file.string());
    EXPECT_FALSE(messages[2].empty());
    EXPECT_EQ(messages[3], "Trying to write the dictionary as string.");
    EXPECT_EQ(messages[4], "Writing as string failed.");
    EXPECT_FALSE(messages[5].empty());
    EXPECT_EQ(messages[6], "DISK - Finished writing final plist.");
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(DiskCreateEmptyFiles, EmptiesExistingFilesAndGoesOnAfterAFailure) {
    test::TempDir folder;
    folder.write("Net.plist", "left over");
    folder.mkdir("Net.log/blocked");  // a non-empty folder where the file should go
    test::CapturedLog log;

    Disk::create_empty_files(folder.path(), {"Net.plist", "Net.log", "Extra.txt"});

    EXPECT_EQ(test::read_text(folder / "Net.plist"), "");
    EXPECT_TRUE(std::filesystem::is_regular_file(folder / "Extra.txt"));
    EXPECT_EQ(test::log_messages(log.text()),
              Lines{"Error in creating file " + (folder / "Net.log").string() + "."});
}

}  // namespace
