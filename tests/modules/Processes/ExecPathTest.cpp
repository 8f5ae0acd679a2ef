#include <gtest/gtest.h>

#include <stdexcept>

#include "modules/Processes/Processes.h"
#include "support/FakeMachine.h"
#include "support/TempDir.h"

namespace {

class ProcessesExecPath : public ::testing::Test {
protected:
    ProcessesExecPath() {
        root.write("Applications/My App.app/Contents/MacOS/My App", "binary");
        root.write("opt/x y/bin/tool", "binary");
        root.write("opt/x y/bin/too", "binary");
        root.write("opt/two  blanks/tool", "binary");
    }

    std::optional<std::string> exec_path(const std::string& command_line) {
        return processes.get_exec_path(command_line);
    }

    test::TempDir root;
    sys::Machine machine = test::fake_machine(root.path());
    modules::Processes processes{machine};
};

TEST_F(ProcessesExecPath, TheLongestExistingPrefixOfAnUnquotedLineWins) {
    EXPECT_EQ(exec_path("/Applications/My App.app/Contents/MacOS/My App -psn_0_1"),
              "/Applications/My App.app/Contents/MacOS/My App");
    // Blanks are kept as they were: each one splits, and the pieces join back one blank each.
    EXPECT_EQ(exec_path("/opt/two  blanks/tool --flag"), "/opt/two  blanks/tool");
    EXPECT_EQ(exec_path("/opt/x\ty/bin/tool"), "/opt/x y/bin/tool");  // a tab joins back as a blank
    EXPECT_EQ(exec_path("/opt -x"), "/opt");                          // a folder counts as existing
    EXPECT_EQ(exec_path("/opt/missing -x"), std::nullopt);
}

TEST_F(ProcessesExecPath, QuotedPathsLoseTheirQuotes) {
    EXPECT_EQ(exec_path("\"/opt/x y/bin/tool\" -v"), "/opt/x y/bin/tool");
    EXPECT_EQ(exec_path("'/opt/x y/bin/tool' -v"), "/opt/x y/bin/tool");
    EXPECT_EQ(exec_path("\"/opt\""), "/opt");
    // A quote that never closes takes every piece, and still loses its last character.
    EXPECT_EQ(exec_path("\"/opt/x y/bin/tool"), "/opt/x y/bin/too");
}

TEST_F(ProcessesExecPath, ALoneDoubleQuoteIsARangeFault) {
    EXPECT_THROW(exec_path("\" /opt/x y/bin/tool"), std::out_of_range);
}

TEST_F(ProcessesExecPath, NamesThatExistNowhereGiveNothing) {
    EXPECT_EQ(exec_path("None"), std::nullopt);  // an unreadable command line
    // Empty text must not stand for the root folder itself.
    EXPECT_EQ(exec_path(""), std::nullopt);
    EXPECT_EQ(exec_path(" /opt"), std::nullopt);
    root.write("None", "");
    EXPECT_EQ(exec_path("None"), "None");  // relative names are taken from the root
}

}  // namespace
