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

// A module's log and property list: emptied when the module starts, the log appended to.
TEST(DiskModuleFiles, EmptiedThenTheLogAppendedAcrossRedirections) {
    test::ScratchOutput scratch;
    const sys::OutputPath folder = scratch.folder("Net");
    scratch.dir().write("tvtriage/Net/Net.plist", "left over");
    scratch.dir().write("tvtriage/Net/Net.log", "from an earlier run\n");
    scratch.dir().mkdir("tvtriage/Net/Blocked.log/x");  // a folder where the file should go
    test::CapturedLog log;

    Disk::create_empty_files(folder, {"Net.plist", "Blocked.log", "Extra.txt"});
    EXPECT_EQ(test::read_text(folder.path() / "Net.plist"), "");
    EXPECT_TRUE(std::filesystem::is_regular_file(folder.path() / "Extra.txt"));
    EXPECT_EQ(test::log_messages(log.text()),
              Lines{"Error in creating file " + (folder / "Blocked.log").string() + "."});

    for (const auto& [file, line] :
         {std::pair{"Net.log", "first"}, {"Other.log", "elsewhere"}, {"Net.log", "second"}}) {
        Disk::redirectLog(folder, file);
        sys::log_line(line);
    }
    EXPECT_EQ(test::log_messages(test::read_text(folder.path() / "Net.log")),
              (Lines{"from an earlier run", "first", "second"}));
    EXPECT_EQ(test::log_messages(test::read_text(folder.path() / "Other.log")), Lines{"elsewhere"});
}

TEST(DiskGetFile, ReadsUtf8TextAndRefusesWhatIsNotText) {
    test::TempDir root;
    const std::string utf8 = "127.0.0.1 localhost\n# caf\xc3\xa9\n";
    root.write("etc/hosts", utf8);
    root.write("etc/latin1", "caf\xe9\n");
    for (const auto& [path, text] :
         {std::pair{"/etc/hosts", utf8}, {"/etc/latin1", ""}, {"/etc/missing", ""}}) {
        test::CapturedLog log;
        EXPECT_EQ(Disk::getFile(sys::FileSystem(root.path()), path, "hosts"), text) << path;
        EXPECT_EQ(log.contains("hosts file does not exist!"), text.empty()) << path;
    }
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
    EXPECT_EQ(plist::parse(test::read_text(file.path())), plist::Value(plist::describe(with_null)));
    EXPECT_TRUE(log.contains("property lists cannot contain objects of type 'CFNull'"));

    // A file that cannot be opened fails both attempts.
    Disk::write_plist(plain, scratch.run_folder() / "no-such-folder/Net.plist");
    EXPECT_TRUE(log.contains("Writing as string failed."));
}

}  // namespace
