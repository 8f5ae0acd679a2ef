#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <iostream>
#include <iterator>

#include "libs/Disk/Disk.h"
#include "libs/plist/Reader.h"
#include "libs/sys/Exception.h"
#include "libs/sys/FdIo.h"
#include "libs/sys/ProgramRunner.h"
#include "support/Archive.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/ScratchOutput.h"

namespace {

namespace fs = std::filesystem;
using plist::Dictionary;
using Lines = std::vector<std::string>;
using Report = modules::ModuleReport;

std::optional<Lines> ignore_list(Dictionary samples) {
    return Disk::get_enabled_ignore_list(Dictionary{{"Samples", std::move(samples)}});
}

TEST(DiskGetEnabledIgnoreList, OnlyThePresenceOfIgnoreCounts) {
    const plist::Array list{"/bin/ignored", 5, "/bin/other"};
    EXPECT_EQ(ignore_list({{"Ignore", false}, {"Samples List", list}}),
              (Lines{"/bin/ignored", "/bin/other"}));
    EXPECT_FALSE(ignore_list({{"Samples List", list}}));
    EXPECT_FALSE(ignore_list({{"Ignore", 1}, {"Samples List", "/bin/ignored"}}));
    EXPECT_FALSE(Disk::get_enabled_ignore_list(plist::Array{}));
}

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

// Each distinct path is hashed once, on several threads, yet every occurrence keeps its slot and
// its log lines, in the order given.
TEST(DiskDigest, MatchesAnIndependentDigestInOrderWithDuplicates) {
    test::TempDir root;
    root.write("a", "a");
    // Content that crosses every read-size boundary and is not all one byte value.
    std::string content((1 << 20) + 12345, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 131 + i / 7);
    const std::string big = root.write("large", content).string();
    const std::string kLarge = sys::ProgramRunner().run("md5sum", {big}).substr(0, 32);
    const std::string kA = "0cc175b9c0f1b6a831c399e269772661";
    test::CapturedLog log;

    EXPECT_EQ(Disk::get_md5_array(sys::FileSystem(root.path()), {"/a", "/missing", "/large", "/a"}),
              (Lines{kA, std::string(Disk::kMissingFileMd5), kLarge, kA}));
    EXPECT_EQ(
        test::log_messages(log.text()),
        (Lines{"Generated md5 for file at: /a", kA, "ERROR GETTING FILE MD5 for:/missing",
               "Generated md5 for file at: /large", kLarge, "Generated md5 for file at: /a", kA}));
}

// A hostile report can name a FIFO or a device: the call must come back instead of waiting for
// a writer or reading an endless stream. The wait only turns a hang into a failure: a thread
// stuck on such a file cannot be cancelled, so the binary stops there.
TEST(DiskDigest, UnusablePathsGetThePlaceholderWithoutBlocking) {
    test::TempDir root;
    root.mkdir("folder");
    ASSERT_EQ(::mkfifo((root / "fifo").c_str(), 0600), 0);
    // A sparse terabyte would take the better part of an hour to hash.
    fs::resize_file(root.write("sparse", ""), 1ull << 40);
    const sys::FileSystem fixture(root.path()), live("/");
    const Lines paths{"/folder", "", "/fifo", "/dev/zero", "/dev/null", "/sparse"};
    test::CapturedLog log;
    auto hashing = std::async(std::launch::async, [&] {
        Lines md5s;
        for (const auto& path : paths)
            md5s.push_back(Disk::get_file_md5(path.starts_with("/dev") ? live : fixture, path));
        return md5s;
    });
    if (hashing.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
        std::cout << "FAILED: hashing a FIFO, a device or a sparse file blocked" << std::endl;
        std::_Exit(1);
    }
    EXPECT_EQ(hashing.get(), Lines(paths.size(), std::string(Disk::kMissingFileMd5)));
    EXPECT_TRUE(log.contains("ERROR GETTING FILE MD5 for:/fifo"));
    EXPECT_TRUE(log.contains("not hashed: /sparse"));
    EXPECT_TRUE(log.contains("ERROR GETTING FILE MD5 for:/sparse"));
}

// Copies are named by the MD5 they are listed with; here each file's name in capitals.
TEST(DiskCopySamples, CopiesEachUsableFileUnderItsMd5AndNeverThroughALink) {
    test::TempDir root, elsewhere;
    test::ScratchOutput scratch;
    const sys::FileSystem files(root.path());
    const sys::OutputPath folder = scratch.folder("Samples");
    for (const char* name : {"a", "b", "ignored"}) root.write(std::string("bin/") + name, name);
    // Same content under a second name: one copy, made from the first path.
    root.write("bin/a-again", "a");
    root.write("bin/empty", "");
    fs::resize_file(root.write("bin/exact", ""), Disk::kMaxSampleSize);
    fs::resize_file(root.write("bin/over", ""), Disk::kMaxSampleSize + 1);
    // A chain of links must not hide the size of what it ends at.
    root.symlink("bin/chain", "/bin/chain-2");
    root.symlink("bin/chain-2", "/bin/over");
    const Disk::SamplesDictionary samples{{"/bin/a", "A"},         {"/bin/b", "B"},
                                          {"/bin/empty", "EMPTY"}, {"/bin/ignored", "IGN"},
                                          {"/bin/exact", "EX"},    {"/bin/over", "OVER"},
                                          {"/bin/chain", "CHAIN"}, {"/bin/missing", "M"},
                                          {"/bin/", "DIR"},        {"/bin/a-again", "A"}};
    const auto copies = [&] { return std::distance(fs::directory_iterator(folder.path()), {}); };
    // An earlier pass's copy is kept; a link planted where a copy goes is replaced, never
    // written through.
    scratch.dir().write("tvtriage/Samples/B", "earlier copy");
    const fs::path victim = elsewhere.write("victim", "untouched");
    scratch.dir().symlink("tvtriage/Samples/A", victim.string());
    test::CapturedLog log;

    Disk::copy_samples(files, samples, folder, Lines{"/bin/ignored"});

    EXPECT_EQ(copies(), 3);
    EXPECT_EQ(test::read_text(folder.path() / "A"), "a");
    EXPECT_EQ(fs::symlink_status(folder.path() / "A").permissions() & fs::perms::all,
              fs::perms(0600));
    EXPECT_EQ(fs::file_size(folder.path() / "EX"), Disk::kMaxSampleSize);
    EXPECT_EQ(test::read_text(folder.path() / "B"), "earlier copy");
    EXPECT_EQ(test::read_text(victim), "untouched");
    EXPECT_TRUE(log.contains("Copying file at path:/bin/a\n"));
    for (const char* not_tried : {"/bin/over", "/bin/chain", "/bin/a-again"})
        EXPECT_FALSE(log.contains(std::string("Copying file at path:") + not_tried)) << not_tried;

    Disk::copy_samples(files, samples, folder, std::nullopt);
    EXPECT_EQ(test::read_text(folder.path() / "IGN"), "ignored");
    EXPECT_EQ(copies(), 4);
}

TEST(CopyAtMost, NeverWritesMoreThanTheLimit) {
    test::TempDir dir;
    const auto source = dir.write("source", "0123456789A");
    for (const auto& [limit, copied] : {std::pair{11u, true}, {10u, false}}) {
        const sys::UniqueFd in(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
        const sys::UniqueFd out(::open((dir / "copy").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600));
        EXPECT_EQ(sys::copy_at_most(in.get(), out.get(), limit), copied) << limit;
        EXPECT_LE(fs::file_size(dir / "copy"), limit);
    }
}

TEST(DiskWriteSamplesPlist, LinksCarryTheirTargetsDataTargetsVanishAndAnOldFileIsReplaced) {
    const std::string tool(32, '1'), plain(32, '2'), missing(Disk::kMissingFileMd5);
    test::ScratchOutput scratch;
    const sys::OutputPath folder = scratch.folder("Samples");
    const fs::path file = folder.path() / "Samples.plist";
    const auto listing = [&] { return scratch.output().list(folder.path()); };
    test::CapturedLog log;

    // One target reached by two links, one link whose target is gone, one plain file.
    Disk::write_samples_plist(
        {{"/bin/tool", tool}, {"/bin/plain", plain}, {"/bin/gone", missing}},
        {{"/links/tool", "/bin/tool"}, {"/links/tool-again", "/bin/tool"}, {"/links/gone", "NULL"}},
        folder);
    const Dictionary link{{"md5", tool}, {"RealPath", "/bin/tool"}};
    EXPECT_EQ(plist::parse(test::read_text(file)),
              plist::Value(Dictionary{{"/bin/plain", Dictionary{{"md5", plain}}},
                                      {"/bin/gone", Dictionary{{"md5", missing}}},
                                      {"/links/tool", link},
                                      {"/links/tool-again", link}}));
    EXPECT_EQ(listing(), std::vector<std::string>{"Samples.plist"}) << "no temporary file is left";

    Disk::write_samples_plist({{"/bin/a", plain}}, {}, folder);
    EXPECT_EQ(plist::parse(test::read_text(file)),
              plist::Value(Dictionary{{"/bin/a", Dictionary{{"md5", plain}}}}));
    EXPECT_EQ(listing(), std::vector<std::string>{"Samples.plist"});

    Disk::write_samples_plist({{"/bin/a", plain}}, {}, folder / "no-such-folder");
    EXPECT_TRUE(log.contains("Error in creating Samples.plist"));
}

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
    EXPECT_TRUE(fs::is_directory(output.run_folder()) && fs::is_empty(output.run_folder()));
    EXPECT_EQ(test::read_text(kept), "precious");

    // A later run in the same place adds to the archive rather than replacing it.
    scratch.dir().write("tvtriage/TV/TV.log", "tv");
    EXPECT_EQ(Disk::zip_samples_to_desktop(programs, output), 0);
    EXPECT_EQ(test::zip_member(output.archive(), "tvtriage.log"), "driver log\n");
    EXPECT_EQ(test::zip_member(output.archive(), "TV/TV.log"), "tv");
}

}  // namespace
