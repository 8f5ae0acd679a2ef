#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "libs/plist/Reader.h"
#include "support/CapturedLog.h"
#include "support/ScratchOutput.h"

namespace {

using plist::Dictionary;

TEST(DiskWriteSamplesPlist, LinksCarryTheirTargetsDataTargetsVanishAndAnOldFileIsReplaced) {
    const std::string tool(32, '1'), plain(32, '2'), missing(Disk::kMissingFileMd5);
    test::ScratchOutput scratch;
    const sys::OutputPath folder = scratch.folder("Samples");
    const std::filesystem::path file = folder.path() / "Samples.plist";
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

}  // namespace
