#include <gtest/gtest.h>

#include <algorithm>

#include "libs/Disk/Disk.h"
#include "support/Archive.h"
#include "support/CapturedLog.h"
#include "support/TempDir.h"

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

TEST(DiskZipSamplesToDesktop, ArchivesTheRunFolderRelativeToItAndUpdatesALaterRun) {
    test::TempDir run, home;
    run.write("tvtriage.log", "driver log\n");
    run.write("Samples/d41d8cd98f00b204e9800998ecf8427e", "");
    const fs::path archive = home.mkdir("Desktop") / "tvtriage_results.zip";
    sys::ProgramRunner programs;
    test::CapturedLog zip_output;

    Disk::zip_samples_to_desktop(programs, run.path(), archive);
    EXPECT_EQ(archived_files(archive),
              (Lines{"Samples/d41d8cd98f00b204e9800998ecf8427e", "tvtriage.log"}));
    EXPECT_EQ(test::zip_member(archive, "tvtriage.log"), "driver log\n");

    // A second run in the same place adds to the archive rather than replacing it.
    Disk::clean_up(run.path());
    run.write("TV/TV.log", "tv");
    Disk::zip_samples_to_desktop(programs, run.path(), archive);
    EXPECT_EQ(archived_files(archive),
              (Lines{"Samples/d41d8cd98f00b204e9800998ecf8427e", "TV/TV.log", "tvtriage.log"}));
    EXPECT_EQ(test::zip_member(archive, "TV/TV.log"), "tv");
}

TEST(DiskCleanUp, EmptiesTheRunFolderButKeepsItAndWhatLinksPointTo) {
    test::TempDir run, elsewhere;
    const auto kept = elsewhere.write("keep/me", "precious");
    run.write("Autoruns/deep/er/file", "y");
    run.write("tvtriage.log", "z");
    run.symlink("link-to-outside", elsewhere.path().string() + "/keep");
    test::CapturedLog log;

    Disk::clean_up(run.path());

    EXPECT_TRUE(fs::is_directory(run.path()));
    EXPECT_TRUE(fs::is_empty(run.path()));
    EXPECT_EQ(test::read_text(kept), "precious");
    EXPECT_EQ(log.text(), "");
    EXPECT_NO_THROW(Disk::clean_up(run / "missing"));
}

}  // namespace
