#include <gtest/gtest.h>

#include <fcntl.h>

#include <algorithm>

#include "libs/Disk/Disk.h"
#include "libs/sys/FdIo.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/ScratchOutput.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

std::optional<Lines> ignore_list(plist::Dictionary samples) {
    return Disk::get_enabled_ignore_list(plist::Value(plist::Dictionary{
        {"Net", plist::Dictionary{{"Enabled", 1}}}, {"Samples", std::move(samples)}}));
}

TEST(DiskGetEnabledIgnoreList, OnlyThePresenceOfIgnoreCounts) {
    const plist::Array list{"/bin/ignored", 5, "/bin/other"};
    EXPECT_EQ(ignore_list({{"Ignore", false}, {"Samples List", list}}),
              (Lines{"/bin/ignored", "/bin/other"}));
    EXPECT_FALSE(ignore_list({{"Samples List", list}}));
    EXPECT_FALSE(ignore_list({{"Ignore", 1}, {"Samples List", "/bin/ignored"}}));
    EXPECT_FALSE(Disk::get_enabled_ignore_list(plist::Value(plist::Array{})));
}

class DiskCopySamples : public ::testing::Test {
protected:
    DiskCopySamples() : files(root.path()), samples_folder(scratch.folder("Samples")) {
        root.write("bin/a", "same");
        root.write("bin/a-copy", "same");
        root.write("bin/b", "b");
        root.write("bin/empty", "");
        root.write("bin/ignored", "ignored");
        fs::resize_file(root.write("bin/exact", ""), Disk::kMaxSampleSize);
        fs::resize_file(root.write("bin/over", ""), Disk::kMaxSampleSize + 1);
        // A chain of links must not hide the size of what it ends at.
        root.symlink("bin/chain", "/bin/chain-2");
        root.symlink("bin/chain-2", "/bin/over");
        fs::permissions(root / "bin/a", fs::perms(0755));
        test::CapturedLog quiet;
        samples = Disk::get_samples_dictionary(
            files, {{"Autoruns",
                     {"/bin/a", "/bin/a-copy", "/bin/b", "/bin/empty", "/bin/ignored", "/bin/exact",
                      "/bin/over", "/bin/chain", "/bin/missing"}}});
    }

    Lines copies() const {
        Lines names;
        for (const auto& entry : fs::directory_iterator(samples_folder.path()))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    Lines md5s_of(Lines paths) const {
        for (auto& path : paths) path = samples.at(path);
        std::sort(paths.begin(), paths.end());
        return paths;
    }

    test::TempDir root;
    test::ScratchOutput scratch;
    sys::FileSystem files;
    sys::OutputPath samples_folder;
    Disk::SamplesDictionary samples;
};

TEST_F(DiskCopySamples, CopiesEachUsableFileOnceUnderItsMd5) {
    // Already there from an earlier pass: kept as it is.
    scratch.dir().write("tvtriage/Samples/" + samples.at("/bin/b"), "earlier copy");
    // A link planted where a copy goes is replaced, never written through.
    test::TempDir elsewhere;
    const auto victim = elsewhere.write("victim", "untouched");
    scratch.dir().symlink("tvtriage/Samples/" + samples.at("/bin/a"), victim.string());
    test::CapturedLog log;

    Disk::copy_samples(
        files, samples, samples_folder,
        ignore_list({{"Ignore", false}, {"Samples List", plist::Array{"/bin/ignored"}}}));

    EXPECT_EQ(copies(), md5s_of({"/bin/a", "/bin/b", "/bin/exact"}));
    const fs::path folder = samples_folder.path();
    EXPECT_EQ(test::read_text(folder / samples.at("/bin/a")), "same");
    EXPECT_EQ(fs::status(folder / samples.at("/bin/a")).permissions() & fs::perms::all,
              fs::perms(0600))
        << "copies are for the running user only";
    EXPECT_EQ(fs::file_size(folder / samples.at("/bin/exact")), Disk::kMaxSampleSize);
    EXPECT_EQ(test::read_text(folder / samples.at("/bin/b")), "earlier copy");
    EXPECT_EQ(test::read_text(victim), "untouched");
    EXPECT_EQ(
        test::log_messages(log.text()),
        (Lines{"Copying file at path:/bin/a", "Coult not get the size of file at path: /bin/empty",
               "Copying file at path:/bin/exact"}));
}

TEST_F(DiskCopySamples, WithoutAnIgnoreListEverythingUsableIsCopied) {
    test::CapturedLog quiet;
    Disk::copy_samples(files, samples, samples_folder,
                       ignore_list({{"Samples List", plist::Array{"/bin/ignored"}}}));
    EXPECT_EQ(copies(), md5s_of({"/bin/a", "/bin/b", "/bin/exact", "/bin/ignored"}));
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
