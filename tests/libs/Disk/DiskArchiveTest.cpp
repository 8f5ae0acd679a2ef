#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "libs/sys/ProgramRunner.h"
#include "support/CapturedLog.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

// Entry names and contents as an independent reader sees them, one "name size" line each.
std::string archive_listing(const fs::path& archive) {
    sys::ProgramRunner programs;
    return programs.run("python3", {"-c",
                                    "import sys, zipfile\n"
                                    "z = zipfile.ZipFile(sys.argv[1])\n"
                                    "for i in sorted(z.infolist(), key=lambda i: i.filename):\n"
                                    "    if not i.is_dir(): print(i.filename, i.file_size)\n",
                                    archive.string()});
}

TEST(DiskZipSamplesToDesktop, ArchivesTheRunFolderRelativeToItAndUpdatesALaterRun) {
    test::TempDir run;
    test::TempDir home;
    run.write("tvtriage.log", "driver log\n");
    run.write("Net/Net.plist", "<plist/>");
    run.write("Samples/d41d8cd98f00b204e9800998ecf8427e", "");
    run.write("Samples/Samples.plist", "samples");
    const fs::path archive = home.mkdir("Desktop") / "tvtriage_results.zip";
    sys::ProgramRunner programs;
    test::CapturedLog zip_output;

    Disk::zip_samples_to_desktop(programs, run.path(), archive);
    EXPECT_EQ(archive_listing(archive),
              "Net/Net.plist 8\n"
              "Samples/Samples.plist 7\n"
              "Samples/d41d8cd98f00b204e9800998ecf8427e 0\n"
              "tvtriage.log 11\n");

    // A second run in the same place adds to the archive rather than replacing it.
    Disk::clean_up(run.path());
    run.write("TV/TV.log", "tv");
    Disk::zip_samples_to_desktop(programs, run.path(), archive);
    EXPECT_EQ(archive_listing(archive),
              "Net/Net.plist 8\n"
              "Samples/Samples.plist 7\n"
              "Samples/d41d8cd98f00b204e9800998ecf8427e 0\n"
              "TV/TV.log 2\n"
              "tvtriage.log 11\n");
}

TEST(DiskCleanUp, EmptiesTheRunFolderButKeepsItAndWhatLinksPointTo) {
    test::TempDir run;
    test::TempDir elsewhere;
    const auto kept = elsewhere.write("keep/me", "precious");
    run.write("Samples/Samples.plist", "x");
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
