#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "libs/sys/Exception.h"
#include "support/CapturedLog.h"
#include "support/TempDir.h"

namespace {

using Report = modules::ModuleReport;

// Every module's report loses the links seen so far and gains every target resolved so far, in
// key order (not insertion order); a target is kept one level deep as stored; dangling links
// only leave.
TEST(DiskSymlinks, TargetsReplaceLinksAndCarryOverIntoEveryLaterModule) {
    test::TempDir root;
    root.write("bin/tool", "#!/bin/sh\n");
    root.write("bin/other", "other\n");
    root.symlink("links/tool", "/bin/tool");
    root.symlink("links/tool-again", "../bin/tool");
    root.symlink("links/dangling", "/bin/missing");
    const sys::FileSystem files(root.path());
    Disk::Results results{
        {"Processes", Report{"/bin/missing", "/links/dangling"}},
        {"Autoruns", Report{"/links/tool", "/bin/other", "/links/dangling", "/links/tool-again"}},
        {"Browsers", Report{}},
        {"Net", Report{"/links/tool"}}};
    test::CapturedLog log;

    EXPECT_EQ(Disk::replace_symlinks(files, results),
              (Disk::SymlinkMap{{"/links/tool", "/bin/tool"},
                                {"/links/tool-again", "../bin/tool"},
                                {"/links/dangling", "NULL"}}));
    EXPECT_EQ(results,
              (Disk::Results{
                  {"Autoruns", Report{"/bin/other", "/bin/tool", "../bin/tool"}},
                  {"Browsers", Report{"/bin/tool", "../bin/tool"}},
                  {"Net", Report{"/bin/tool", "../bin/tool", "/bin/tool"}},
                  {"Processes", Report{"/bin/missing", "/bin/tool", "../bin/tool", "/bin/tool"}}}));
    EXPECT_TRUE(log.contains("Autoruns - no executable for SYMLINK at path: /links/dangling"));
    EXPECT_TRUE(log.contains("Processes - no executable for SYMLINK at path: /links/dangling"));
    // Callers ask check_if_symlink first: a path that is no link has no destination to give.
    EXPECT_THROW(Disk::symlink_abs_path(files, "/bin/tool"), sys::Exception);
}

}  // namespace
