// The whole program over a tree an attacker could have left (tests/support/hostile_fixture.py):
// the run ends, every module's report is written and loads, and nothing outside the root is read.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>

#include "support/Archive.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

TEST(HostileMachine, EveryModuleReportsAndNothingOutsideTheRootIsRead) {
    if (std::system("command -v python3 >/dev/null 2>&1") != 0) GTEST_SKIP() << "no python3";
    test::TempDir dir;
    const std::string canary = "CANARY-" + std::to_string(std::random_device{}());
    dir.write("canary", canary + "\n");
    const fs::path root = dir / "root", zip = dir / "out.zip";
    ASSERT_EQ(std::system(("python3 '" TVTRIAGE_SOURCE_DIR "/tests/support/hostile_fixture.py' '" +
                           root.string() + "' '" + (dir / "canary").string() + "'")
                              .c_str()),
              0);

    const std::string run = std::string(TVTRIAGE_BINARY) + " --quiet --root '" + root.string() +
                            "' --workdir '" + dir.path().string() + "' --output '" + zip.string() +
                            "'";
    EXPECT_EQ(std::system(run.c_str()), 0);
    EXPECT_EQ(test::shell_output("unzip -p '" + zip.string() + "' | grep -c '" + canary + "'"),
              "0\n");
    // Each report loads in plistlib, as its module's shape.
    const std::string loads = test::shell_output(
        "cd '" + dir.path().string() +
        "' && unzip -q out.zip -d out && python3 -c \"import "
        "plistlib,sys; print(' '.join(type(plistlib.load(open('out/%s/%s.plist' % (m, m), "
        "'rb'))).__name__ for m in sys.argv[1:]))\" SystemInfo Processes Net TV Browsers "
        "Autoruns");
    EXPECT_EQ(loads, "list dict dict dict dict dict\n");
    fs::permissions(root / "Users/locked", fs::perms::owner_all);
}

}  // namespace
