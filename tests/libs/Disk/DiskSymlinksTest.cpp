#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "libs/sys/Exception.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/TempDir.h"

namespace {

using Report = modules::ModuleReport;

class DiskSymlinks : public ::testing::Test {
protected:
    DiskSymlinks() : files(root.path()) {
        root.write("bin/tool", "#!/bin/sh\n");
        root.write("bin/other", "other\n");
        root.symlink("links/tool", "/bin/tool");
        root.symlink("links/tool-again", "../bin/tool");
        root.symlink("links/dangling", "/bin/missing");
    }

    test::TempDir root;
    sys::FileSystem files;
};

TEST_F(DiskSymlinks, OnlyTheItemItselfIsALinkAndItsDestinationIsOneLevelAsStored) {
    test::CapturedLog log;
    EXPECT_TRUE(Disk::check_if_symlink(files, "/links/dangling"));
    EXPECT_FALSE(Disk::check_if_symlink(files, "/bin/tool"));
    EXPECT_FALSE(Disk::check_if_symlink(files, "/bin/missing"));
    EXPECT_EQ(Disk::symlink_abs_path(files, "/links/tool-again"), "../bin/tool");
    EXPECT_EQ(Disk::symlink_abs_path(files, "/links/dangling"), "/bin/missing");
    EXPECT_EQ(test::log_messages(log.text()),
              (std::vector<std::string>{"IT IS SYMLING AT :/links/dangling",
                                        "NEW ABSOLUTE PATH: ../bin/tool",
                                        "NEW ABSOLUTE PATH: /bin/missing"}));
    try {
        Disk::symlink_abs_path(files, "/bin/tool");
        FAIL() << "a regular file has no destination";
    } catch (const sys::Exception& e) {
        EXPECT_EQ(e.name(), "NSInvalidArgumentException");
    }
}

TEST_F(DiskSymlinks, LinksAreReplacedByTargetsAndDanglingOnesDropped) {
    Disk::Results results{
        {"Autoruns", Report{"/links/tool", "/bin/other", "/links/dangling", "/links/tool-again"}}};
    test::CapturedLog log;

    EXPECT_EQ(Disk::replace_symlinks(files, results),
              (Disk::SymlinkMap{{"/links/tool", "/bin/tool"},
                                {"/links/tool-again", "../bin/tool"},
                                {"/links/dangling", "NULL"}}));
    EXPECT_EQ(results["Autoruns"], (Report{"/bin/other", "/bin/tool", "../bin/tool"}));
    EXPECT_TRUE(log.contains("Autoruns - no executable for SYMLINK at path: /links/dangling"));
}

TEST_F(DiskSymlinks, TargetsCarryOverIntoEveryLaterModuleInKeyOrder) {
    // Key order, not insertion order, decides which module is "earlier".
    Disk::Results results{{"Processes", Report{"/bin/other", "/links/dangling"}},
                          {"Autoruns", Report{"/links/tool"}},
                          {"Browsers", Report{}},
                          {"Net", Report{"/links/tool"}}};

    Disk::replace_symlinks(files, results);

    EXPECT_EQ(results["Autoruns"], (Report{"/bin/tool"}));
    EXPECT_EQ(results["Browsers"], (Report{"/bin/tool"}));
    EXPECT_EQ(results["Net"], (Report{"/bin/tool", "/bin/tool"}));
    EXPECT_EQ(results["Processes"], (Report{"/bin/other", "/bin/tool", "/bin/tool"}));
}

}  // namespace
