#include <gtest/gtest.h>

#include "libs/plist/XmlWriter.h"
#include "modules/Registry.h"
#include "support/FakeMachine.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

const std::string kEngines = "/Library/Tervalon/SHLD/antivirus.bundle/engines";
const std::string kLogs = "/Library/Application Support/Shieldwell/Logs";

class TVModule : public ::testing::Test {
protected:
    test::ModuleRun run() {
        auto module = modules::Registry::builtin().create("TV", machine);
        test::ModuleRun tv = test::run_module(*module, "TV");
        EXPECT_TRUE(tv.report.empty());
        EXPECT_TRUE(tv.plist && tv.plist->as_dict() && tv.plist->as_dict()->size() == 3)
            << tv.plist_bytes;
        return tv;
    }

    static bool logged(const test::ModuleRun& tv, const std::string& line) {
        return tv.log.find(line) != std::string::npos;
    }

    test::TempDir root;
    sys::Machine machine = test::fake_machine(root.path());
};

TEST_F(TVModule, AMachineWithoutTheProductGivesEmptyValuesAndTheReasons) {
    test::ModuleRun tv = run();
    EXPECT_EQ(*tv.plist, plist::Value(plist::Dictionary{{"update.txt", ""},
                                                        {"logs", plist::Dictionary{}},
                                                        {"Info.plist", plist::Dictionary{}}}));
    EXPECT_TRUE(logged(tv, kEngines + " is not a symlink!"));
    EXPECT_TRUE(logged(tv, kLogs + " does not exist!"));
    EXPECT_TRUE(logged(tv,
                       "Error at dictionaryWithContentsOfFile for "
                       "/Library/Tervalon/SHLD/Shieldwell.app/Contents/Info.plist!"));

    // A real folder where the link belongs is no way to the update record either.
    root.write(kEngines + "/Plugins/update.txt", "engine 1.0");
    tv = run();
    EXPECT_EQ(*tv.plist->find("update.txt"), plist::Value(""));
    EXPECT_TRUE(logged(tv, kEngines + " is not a symlink!"));
}

TEST_F(TVModule, ReadsTheProductsFiles) {
    root.write("/Library/Tervalon/SHLD/engines-2.4/Plugins/update.txt", "Last update: today\n");
    root.symlink(kEngines, "/Library/Tervalon/SHLD/engines-2.4");
    const plist::Dictionary a{{"event", "scan"}, {"count", 3}};
    const plist::Array b{"one", "two"};
    root.write(kLogs + "/a.plist", plist::to_xml(a));
    root.write(kLogs + "/b.plist", plist::to_xml(b));
    root.write(kLogs + "/c.plist", "{ \"unterminated\" = ");
    root.write(kLogs + "/d.log", "plain text");
    const plist::Dictionary info{{"CFBundleShortVersionString", "7.1"}};
    root.write("/Library/Tervalon/SHLD/Shieldwell.app/Contents/Info.plist", plist::to_xml(info));

    test::ModuleRun tv = run();
    EXPECT_EQ(
        *tv.plist,
        plist::Value(plist::Dictionary{
            {"update.txt", "Last update: today\n"},
            {"logs",
             plist::Dictionary{{"a.plist", a}, {"b.plist", b}, {"c.plist", plist::Dictionary{}}}},
            {"Info.plist", info}}));
    EXPECT_TRUE(
        logged(tv, "path to update: /Library/Tervalon/SHLD/engines-2.4/Plugins/update.txt"));
    EXPECT_TRUE(logged(tv, "But arrayWithContentsOfFile for " + kLogs + "/b.plist worked!"));
    EXPECT_TRUE(logged(tv, "Error at arrayWithContentsOfFile for " + kLogs + "/c.plist!"));
}

}  // namespace
