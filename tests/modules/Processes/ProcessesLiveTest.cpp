// The module over this machine's own process table, with the platform's live sources.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "modules/Processes/Processes.h"
#include "support/ModuleRun.h"
#include "support/SpawnedChild.h"
#include "support/TempDir.h"

namespace {

TEST(ProcessesLive, AChildStartedThroughALinkUnderBlanksIsReportedByTheLink) {
    test::TempDir tmp;
    const std::filesystem::path program = tmp.mkdir("dir with blanks") / "my sleep";
    std::filesystem::copy_file("/bin/sleep", program);
    const std::string link = tmp.symlink("link to sleep", program.string()).string();
    test::SpawnedChild sleeper(link, {link, "30"});
    ASSERT_GT(sleeper.pid(), 0);

    test::ModuleRun run = test::run_module("Processes", sys::Machine::local("/"));
    ASSERT_TRUE(run.plist && run.plist->as_dict()) << run.plist_bytes.substr(0, 500);
    const plist::Value* child = run.plist->find(std::to_string(sleeper.pid()));
    ASSERT_TRUE(child);
    EXPECT_EQ(*child->find("command"), plist::Value(link + " 30"));
    EXPECT_NE(std::find(run.report.begin(), run.report.end(), link), run.report.end());
}

}  // namespace
