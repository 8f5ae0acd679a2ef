#include <gtest/gtest.h>

#include <algorithm>

#include "libs/Disk/Disk.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

plist::Value config_with_samples(plist::Dictionary samples) {
    return plist::Value(plist::Dictionary{{"Net", plist::Dictionary{{"Enabled", 1}}},
                                          {"Samples", std::move(samples)}});
}

TEST(DiskGetEnabledIgnoreList, OnlyThePresenceOfIgnoreCounts) {
    const plist::Array list{"/bin/ignored", 5, "/bin/other"};
    EXPECT_EQ(Disk::get_enabled_ignore_list(
                  config_with_samples({{"Ignore", false}, {"Samples List", list}})),
              (Lines{"/bin/ignored", "/bin/other"}));
    EXPECT_EQ(Disk::get_enabled_ignore_list(
                  config_with_samples({{"Ignore", "anything"}, {"Samples List", plist::Array{}}})),
              Lines{});
    EXPECT_FALSE(Disk::get_enabled_ignore_list(config_with_samples({{"Samples List", list}})));
    EXPECT_FALSE(Disk::get_enabled_ignore_list(config_with_samples({{"Ignore", 1}})));
    EXPECT_FALSE(Disk::get_enabled_ignore_list(
        config_with_samples({{"Ignore", 1}, {"Samples List", "/bin/ignored"}})));
    EXPECT_FALSE(Disk::get_enabled_ignore_list(plist::Value(plist::Dictionary{})));
    EXPECT_FALSE(Disk::get_enabled_ignore_list(plist::Value(plist::Array{})));
}

class DiskCopySamples : public ::testing::Test {
protected:
    DiskCopySamples() : files(root.path()), samples_folder(output.mkdir("Samples")) {
        root.write("bin/a", "same bytes");
        root.write("bin/a-copy", "same bytes");
        root.write("bin/b", "b");
        root.write("bin/empty", "");
        root.write("bin/ignored", "ignored");
        fs::resize_file(root.write("bin/exact", ""), Disk::kMaxSampleSize);
        fs::resize_file(root.write("bin/over", ""), Disk::kMaxSampleSize + 1);
        root.mkdir("bin/folder");
        fs::permissions(root / "bin/a", fs::perms(0755));
        test::CapturedLog quiet;
        samples = Disk::get_samples_dictionary(
            files, {{"Autoruns",
                     {"/bin/a", "/bin/a-copy", "/bin/b", "/bin/empty", "/bin/ignored", "/bin/exact",
                      "/bin/over", "/bin/folder", "/bin/missing"}}});
    }

    Lines copies() const {
        Lines names;
        for (const auto& entry : fs::directory_iterator(samples_folder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    test::TempDir root;
    test::TempDir output;
    sys::FileSystem files;
    fs::path samples_folder;
    Disk::SamplesDictionary samples;
};

TEST_F(DiskCopySamples, CopiesEachUsableFileOnceUnderItsMd5) {
    const auto ignore = Disk::get_enabled_ignore_list(
        config_with_samples({{"Ignore", false}, {"Samples List", plist::Array{"/bin/ignored"}}}));
    // Already there from an earlier pass: kept as it is.
    output.write("Samples/" + samples.at("/bin/b"), "earlier copy");
    test::CapturedLog log;

    Disk::copy_samples(files, samples, samples_folder, ignore);

    Lines expected{samples.at("/bin/a"), samples.at("/bin/b"), samples.at("/bin/exact")};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(copies(), expected);
    EXPECT_EQ(test::read_text(samples_folder / samples.at("/bin/a")), "same bytes");
    EXPECT_EQ(fs::status(samples_folder / samples.at("/bin/a")).permissions() & fs::perms::all,
              fs::perms(0755));
    EXPECT_EQ(fs::file_size(samples_folder / samples.at("/bin/exact")), Disk::kMaxSampleSize);
    EXPECT_EQ(test::read_text(samples_folder / samples.at("/bin/b")), "earlier copy");

    EXPECT_EQ(
        test::log_messages(log.text()),
        (Lines{"Copying file at path:/bin/a", "Coult not get the size of file at path: /bin/empty",
               "Copying file at path:/bin/exact"}));
}

TEST_F(DiskCopySamples, WithoutAnIgnoreListEverythingUsableIsCopied) {
    test::CapturedLog quiet;
    Disk::copy_samples(files, samples, samples_folder,
                       Disk::get_enabled_ignore_list(
                           config_with_samples({{"Samples List", plist::Array{"/bin/ignored"}}})));

    EXPECT_TRUE(fs::exists(samples_folder / samples.at("/bin/ignored")));
    EXPECT_EQ(copies().size(), 4u);
}

}  // namespace
