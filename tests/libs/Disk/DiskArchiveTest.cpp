#include <gtest/gtest.h>

#include <algorithm>

#include "libs/Disk/Disk.h"
#include "support/Archive.h"
#include "support/CapturedLog.h"
#include "support/ScratchOutput.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// The archive's file entries, sorted; folder entries left out.
Lines archived_files(const fs::path& archive) {
    Lines names = test::zip_members(archive);
    std::erase_if(names, [](const std::string& name) { return name.ends_with('/'); });
    std::sort(names.begin(), names.end());
    return names;
}

TEST(DiskZipSamplesToDesktop, ArchivesTheRunFolderUpdatesALaterRunAndReportsZipsStatus) {
    test::ScratchOutput scratch;
    const sys::RunOutput& output = scratch.output();
    const fs::path run = output.run_folder();
    scratch.dir().write("tvtriage/tvtriage.log", "driver log\n");
    scratch.dir().write("tvtriage/Samples/d41d8cd98f00b204e9800998ecf8427e", "");
    sys::ProgramRunner programs;
    test::CapturedLog zip_output;

    EXPECT_EQ(Disk::zip_samples_to_desktop(programs, output), 0);
    EXPECT_EQ(archived_files(output.archive()),
              (Lines{"Samples/d41d8cd98f00b204e9800998ecf8427e", "tvtriage.log"}));
    EXPECT_EQ(test::zip_member(output.archive(), "tvtriage.log"), "driver log\n");

    // A second run in the same place adds to the archive rather than replacing it.
    Disk::clean_up(output);
    scratch.dir().write("tvtriage/TV/TV.log", "tv");
    EXPECT_EQ(Disk::zip_samples_to_desktop(programs, output), 0);
    EXPECT_EQ(archived_files(output.archive()),
              (Lines{"Samples/d41d8cd98f00b204e9800998ecf8427e", "TV/TV.log", "tvtriage.log"}));

    // A damaged archive already there: zip refuses it, and says so in its status.
    scratch.dir().write("Desktop/tvtriage_results.zip", "PK\x03\x04 not really a zip");
    EXPECT_NE(Disk::zip_samples_to_desktop(programs, output), 0);
}

TEST(DiskCleanUp, EmptiesTheRunFolderButKeepsItAndWhatLinksPointTo) {
    test::ScratchOutput scratch;
    test::TempDir elsewhere;
    const auto kept = elsewhere.write("keep/me", "precious");
    scratch.dir().write("tvtriage/Autoruns/deep/er/file", "y");
    scratch.dir().write("tvtriage/tvtriage.log", "z");
    scratch.dir().symlink("tvtriage/link-to-outside", elsewhere.path().string() + "/keep");
    scratch.dir().symlink("tvtriage/Autoruns/inner-link", elsewhere.path().string() + "/keep");
    test::CapturedLog log;

    Disk::clean_up(scratch.output());

    EXPECT_TRUE(fs::is_directory(scratch.output().run_folder()));
    EXPECT_TRUE(fs::is_empty(scratch.output().run_folder()));
    EXPECT_EQ(test::read_text(kept), "precious");
    EXPECT_EQ(log.text(), "");
}

}  // namespace
