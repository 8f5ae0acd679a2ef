#include <gtest/gtest.h>

#include <fcntl.h>

#include <iterator>

#include "libs/Disk/Disk.h"
#include "libs/sys/FdIo.h"
#include "support/CapturedLog.h"
#include "support/ScratchOutput.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

std::optional<Lines> ignore_list(plist::Dictionary samples) {
    return Disk::get_enabled_ignore_list(plist::Dictionary{{"Samples", std::move(samples)}});
}

TEST(DiskGetEnabledIgnoreList, OnlyThePresenceOfIgnoreCounts) {
    const plist::Array list{"/bin/ignored", 5, "/bin/other"};
    EXPECT_EQ(ignore_list({{"Ignore", false}, {"Samples List", list}}),
              (Lines{"/bin/ignored", "/bin/other"}));
    EXPECT_FALSE(ignore_list({{"Samples List", list}}));
    EXPECT_FALSE(ignore_list({{"Ignore", 1}, {"Samples List", "/bin/ignored"}}));
    EXPECT_FALSE(Disk::get_enabled_ignore_list(plist::Array{}));
}

// Copies are named by the MD5 they are listed with; here each file's name in capitals.
TEST(DiskCopySamples, CopiesEachUsableFileUnderItsMd5AndNeverThroughALink) {
    test::TempDir root, elsewhere;
    test::ScratchOutput scratch;
    const sys::FileSystem files(root.path());
    const sys::OutputPath folder = scratch.folder("Samples");
    for (const char* name : {"a", "b", "ignored"}) root.write(std::string("bin/") + name, name);
    root.write("bin/empty", "");
    fs::resize_file(root.write("bin/exact", ""), Disk::kMaxSampleSize);
    fs::resize_file(root.write("bin/over", ""), Disk::kMaxSampleSize + 1);
    // A chain of links must not hide the size of what it ends at.
    root.symlink("bin/chain", "/bin/chain-2");
    root.symlink("bin/chain-2", "/bin/over");
    const Disk::SamplesDictionary samples{
        {"/bin/a", "A"},         {"/bin/b", "B"},       {"/bin/empty", "EMPTY"},
        {"/bin/ignored", "IGN"}, {"/bin/exact", "EX"},  {"/bin/over", "OVER"},
        {"/bin/chain", "CHAIN"}, {"/bin/missing", "M"}, {"/bin/", "DIR"}};
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
    for (const char* too_big : {"/bin/over", "/bin/chain"})
        EXPECT_FALSE(log.contains(std::string("Copying file at path:") + too_big)) << "not tried";

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

}  // namespace
