#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"
#include "libs/plist/Reader.h"
#include "libs/sys/Log.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/ScratchOutput.h"

namespace {

using Lines = std::vector<std::string>;

TEST(DiskRedirectLog, SecondRedirectionAppendsToTheSameFile) {
    test::ScratchOutput scratch;
    const sys::OutputPath folder = scratch.folder("Net");
    test::CapturedLog restore_log_afterwards;
    scratch.dir().write("tvtriage/Net/Net.log", "from an earlier run\n");

    Disk::redirectLog(folder, "Net.log");
    sys::log_line("first");
    Disk::redirectLog(folder, "Other.log");
    sys::log_line("elsewhere");
    Disk::redirectLog(folder, "Net.log");
    sys::log_line("second");

    EXPECT_EQ(test::log_messages(test::read_text(folder.path() / "Net.log")),
              (Lines{"from an earlier run", "first", "second"}));
    EXPECT_EQ(test::log_messages(test::read_text(folder.path() / "Other.log")), Lines{"elsewhere"});
}

TEST(DiskGetFile, ReadsUtf8TextAndRefusesWhatIsNotText) {
    test::TempDir root;
    root.write("etc/hosts", "127.0.0.1 localhost\n# caf\xc3\xa9\n");
    root.write("etc/latin1", "caf\xe9\n");
    const sys::FileSystem files(root.path());
    test::CapturedLog log;

    EXPECT_EQ(Disk::getFile(files, "/etc/hosts", "hosts"), "127.0.0.1 localhost\n# caf\xc3\xa9\n");
    EXPECT_EQ(Disk::getFile(files, "/etc/missing", "resolv.conf"), "");
    EXPECT_EQ(Disk::getFile(files, "/etc/latin1", "latin1"), "");
    EXPECT_EQ(test::log_messages(log.text()),
              (Lines{"Getting the hosts file...", "Getting the resolv.conf file...",
                     "resolv.conf file does not exist!", "Getting the latin1 file...",
                     "latin1 file does not exist!"}));
}

TEST(DiskWritePlist, WritesXmlOverAnOldFileOrTheDescriptionWhenThereIsANull) {
    test::ScratchOutput scratch;
    const sys::OutputPath file = scratch.folder("Net") / "Net.plist";
    scratch.dir().write("tvtriage/Net/Net.plist", std::string(5000, 'x'));
    const plist::Value plain(plist::Dictionary{{"lsof", plist::Array{"a", "b"}}, {"count", 3}});
    const plist::Value with_null(
        plist::Dictionary{{"Chrome", plist::Dictionary{{"homepage", plist::Null{}}}}});
    test::CapturedLog log;

    Disk::write_plist(plain, file);
    EXPECT_EQ(plist::parse(test::read_text(file.path())), plain);

    Disk::write_plist(with_null, file);
    const std::string written = test::read_text(file.path());
    EXPECT_EQ(written.rfind("<?xml", 0), 0u) << "the failed attempt must leave nothing before";
    EXPECT_EQ(plist::parse(written), plist::Value(plist::describe(with_null)));
    EXPECT_NE(written.find("\"&lt;null&gt;\""), std::string::npos) << written;

    const std::string writing = "DISK - Writing final plist at path: " + file.string();
    const std::string finished = "DISK - Finished writing final plist.";
    EXPECT_EQ(test::log_messages(log.text()),
              (Lines{writing, finished, writing,
                     "ERROR - In writing final plist at path: " + file.string(),
                     "Property list invalid for format: 100 (property lists cannot contain "
                     "objects of type 'CFNull')",
                     "Trying to write the dictionary as string.", finished}));
}

TEST(DiskWritePlist, UnwritableFileIsLoggedWithBothAttempts) {
    test::ScratchOutput scratch;
    const sys::OutputPath file = scratch.run_folder() / "no-such-folder/Net.plist";
    test::CapturedLog log;

    Disk::write_plist(plist::Value(plist::Dictionary{{"a", "b"}}), file);

    const auto messages = test::log_messages(log.text());
    ASSERT_EQ(messages.size(), 7u) << log.text();
    EXPECT_EQ(messages[1], "ERROR - In writing final plist at path: " + file.string());
    EXPECT_EQ(messages[4], "Writing as string failed.");
}

TEST(DiskCreateEmptyFiles, EmptiesExistingFilesAndGoesOnAfterAFailure) {
    test::ScratchOutput scratch;
    const sys::OutputPath folder = scratch.folder("Net");
    scratch.dir().write("tvtriage/Net/Net.plist", "left over");
    scratch.dir().mkdir("tvtriage/Net/Net.log/blocked");  // a folder where the file should go
    test::CapturedLog log;

    Disk::create_empty_files(folder, {"Net.plist", "Net.log", "Extra.txt"});

    EXPECT_EQ(test::read_text(folder.path() / "Net.plist"), "");
    EXPECT_TRUE(std::filesystem::is_regular_file(folder.path() / "Extra.txt"));
    EXPECT_EQ(test::log_messages(log.text()),
              Lines{"Error in creating file " + (folder / "Net.log").string() + "."});
}

}  // namespace
