#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "support/Archive.h"
#include "support/CapturedLog.h"
#include "support/ScratchOutput.h"

namespace {

namespace fs = std::filesystem;

TEST(DiskZipAndCleanUp, ArchivesEmptiesWithoutFollowingLinksAndALaterRunAddsToTheArchive) {
    test::ScratchOutput scratch;
    test::TempDir elsewhere;
    const sys::RunOutput& output = scratch.output();
    scratch.dir().write("tvtriage/tvtriage.log", "driver log\n");
    sys::ProgramRunner programs;
    test::CapturedLog quiet;
    EXPECT_EQ(Disk::zip_samples_to_desktop(programs, output), 0);

    // Clean-up removes links, never what they point to, and keeps the run folder itself.
    const fs::path kept = elsewhere.write("keep/me", "precious");
    scratch.dir().symlink("tvtriage/link-to-outside", (elsewhere / "keep").string());
    scratch.dir().symlink("tvtriage/TV/inner-link", (elsewhere / "keep").string());
    Disk::clean_up(output);
    EXPECT_TRUE(fs::is_directory(output.run_folder()));
    EXPECT_TRUE(fs::is_empty(output.run_folder()));
    EXPECT_EQ(test::read_text(kept), "precious");

    // A later run in the same place adds to the archive rather than replacing it.
    scratch.dir().write("tvtriage/TV/TV.log", "tv");
    EXPECT_EQ(Disk::zip_samples_to_desktop(programs, output), 0);
    EXPECT_EQ(test::zip_member(output.archive(), "tvtriage.log"), "driver log\n");
    EXPECT_EQ(test::zip_member(output.archive(), "TV/TV.log"), "tv");

    // A damaged archive already there: zip refuses it, and says so in its status.
    scratch.dir().write("Desktop/tvtriage_results.zip", "PK\x03\x04 not really a zip");
    EXPECT_NE(Disk::zip_samples_to_desktop(programs, output), 0);
}

}  // namespace
