#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "libs/plist/Reader.h"
#include "libs/sys/ProgramRunner.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/TempDir.h"

namespace {

using Lines = std::vector<std::string>;

plist::Value read_plist(const std::filesystem::path& file) {
    auto value = plist::parse(test::read_text(file));
    if (!value) ADD_FAILURE() << "not a property list: " << file;
    return value.value_or(plist::Value());
}

plist::Value entry(std::string md5) {
    return plist::Dictionary{{"md5", std::move(md5)}};
}
plist::Value entry(std::string md5, std::string real_path) {
    return plist::Dictionary{{"md5", std::move(md5)}, {"RealPath", std::move(real_path)}};
}

// One target reached by two links, one link whose target is gone, one plain file.
const Disk::SamplesDictionary kSamples{{"/bin/tool", "11111111111111111111111111111111"},
                                       {"/bin/plain", "22222222222222222222222222222222"},
                                       {"/bin/gone", std::string(Disk::kMissingFileMd5)}};
const Disk::SymlinkMap kSymlinks{
    {"/links/tool", "/bin/tool"}, {"/links/tool-again", "/bin/tool"}, {"/links/dangling", "NULL"}};

TEST(DiskWriteSamplesPlist, LinksCarryTheirTargetsDataAndTargetsVanish) {
    test::TempDir folder;
    test::CapturedLog log;

    Disk::write_samples_plist(kSamples, kSymlinks, folder.path());

    const plist::Dictionary expected{
        {"/bin/plain", entry("22222222222222222222222222222222")},
        {"/bin/gone", entry(std::string(Disk::kMissingFileMd5))},
        {"/links/tool", entry("11111111111111111111111111111111", "/bin/tool")},
        {"/links/tool-again", entry("11111111111111111111111111111111", "/bin/tool")}};
    EXPECT_EQ(read_plist(folder / "Samples.plist"), plist::Value(expected));
    EXPECT_EQ(test::log_messages(log.text()), (Lines{"FORMATING DATA FOR WRITING IN SAMPLES-PLIST.",
                                                     "Data written to Samples.plist succesfully"}));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1)
        << "no temporary file may be left behind";
}

TEST(DiskWriteSamplesPlist, LoadsInAnIndependentReader) {
    test::TempDir folder;
    test::CapturedLog quiet;
    Disk::write_samples_plist(kSamples, kSymlinks, folder.path());

    sys::ProgramRunner programs;
    const std::string printed = programs.run(
        "python3", {"-c",
                    "import plistlib, sys\n"
                    "d = plistlib.load(open(sys.argv[1], 'rb'))\n"
                    "for k in sorted(d): print(k, d[k]['md5'], d[k].get('RealPath', '-'))\n",
                    (folder / "Samples.plist").string()});
    EXPECT_EQ(printed,
              "/bin/gone File could not be found/invalid path -\n"
              "/bin/plain 22222222222222222222222222222222 -\n"
              "/links/tool 11111111111111111111111111111111 /bin/tool\n"
              "/links/tool-again 11111111111111111111111111111111 /bin/tool\n");
}

TEST(DiskWriteSamplesPlist, AnExistingFileIsOverwritten) {
    test::TempDir folder;
    folder.write("Samples.plist", "stale");
    test::CapturedLog log;

    Disk::write_samples_plist({{"/bin/a", "33333333333333333333333333333333"}}, {}, folder.path());

    EXPECT_EQ(
        read_plist(folder / "Samples.plist"),
        plist::Value(plist::Dictionary{{"/bin/a", entry("33333333333333333333333333333333")}}));
    EXPECT_EQ(test::log_messages(log.text()),
              (Lines{"FORMATING DATA FOR WRITING IN SAMPLES-PLIST.",
                     "Samples.plist already created. Trying to overwrite data."}));
}

TEST(DiskWriteSamplesPlist, MissingFolderIsLogged) {
    test::TempDir folder;
    test::CapturedLog log;

    Disk::write_samples_plist(kSamples, {}, folder / "no-such-folder");

    EXPECT_EQ(test::log_messages(log.text()), (Lines{"FORMATING DATA FOR WRITING IN SAMPLES-PLIST.",
                                                     "Error in creating Samples.plist"}));
}

}  // namespace
