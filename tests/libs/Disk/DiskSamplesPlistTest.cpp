#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "libs/plist/Reader.h"
#include "libs/sys/ProgramRunner.h"
#include "support/CapturedLog.h"
#include "support/LogMessages.h"
#include "support/ScratchOutput.h"

namespace {

using Lines = std::vector<std::string>;
using plist::Dictionary;

const std::string kTool = "11111111111111111111111111111111";
const std::string kPlain = "22222222222222222222222222222222";
const std::string kMissing(Disk::kMissingFileMd5);
// One target reached by two links, one link whose target is gone, one plain file.
const Disk::SamplesDictionary kSamples{
    {"/bin/tool", kTool}, {"/bin/plain", kPlain}, {"/bin/gone", kMissing}};
const Disk::SymlinkMap kSymlinks{
    {"/links/tool", "/bin/tool"}, {"/links/tool-again", "/bin/tool"}, {"/links/dangling", "NULL"}};
const std::string kFormatting = "FORMATING DATA FOR WRITING IN SAMPLES-PLIST.";

TEST(DiskWriteSamplesPlist, LinksCarryTheirTargetsDataAndTargetsVanish) {
    test::ScratchOutput scratch;
    const sys::OutputPath folder = scratch.folder("Samples");
    test::CapturedLog log;

    Disk::write_samples_plist(kSamples, kSymlinks, folder);

    const Dictionary link{{"md5", kTool}, {"RealPath", "/bin/tool"}};
    EXPECT_EQ(plist::parse(test::read_text(folder.path() / "Samples.plist")),
              plist::Value(Dictionary{{"/bin/plain", Dictionary{{"md5", kPlain}}},
                                      {"/bin/gone", Dictionary{{"md5", kMissing}}},
                                      {"/links/tool", link},
                                      {"/links/tool-again", link}}));
    EXPECT_EQ(test::log_messages(log.text()),
              (Lines{kFormatting, "Data written to Samples.plist succesfully"}));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1)
        << "no temporary file may be left behind";

    const std::string printed = sys::ProgramRunner().run(
        "python3", {"-c",
                    "import plistlib, sys\n"
                    "d = plistlib.load(open(sys.argv[1], 'rb'))\n"
                    "for k in sorted(d): print(k, d[k]['md5'], d[k].get('RealPath', '-'))\n",
                    (folder / "Samples.plist").string()});
    EXPECT_EQ(printed, "/bin/gone " + kMissing + " -\n/bin/plain " + kPlain + " -\n/links/tool " +
                           kTool + " /bin/tool\n/links/tool-again " + kTool + " /bin/tool\n");
}

TEST(DiskWriteSamplesPlist, AnExistingFileIsOverwrittenAndAMissingFolderLogged) {
    test::ScratchOutput scratch;
    const sys::OutputPath folder = scratch.folder("Samples");
    scratch.dir().write("tvtriage/Samples/Samples.plist", "stale");
    test::CapturedLog log;

    Disk::write_samples_plist({{"/bin/a", kPlain}}, {}, folder);
    Disk::write_samples_plist(kSamples, {}, folder / "no-such-folder");

    EXPECT_EQ(plist::parse(test::read_text(folder.path() / "Samples.plist")),
              plist::Value(Dictionary{{"/bin/a", Dictionary{{"md5", kPlain}}}}));
    EXPECT_EQ(test::log_messages(log.text()),
              (Lines{kFormatting, "Samples.plist already created. Trying to overwrite data.",
                     kFormatting, "Error in creating Samples.plist"}));
}

}  // namespace
