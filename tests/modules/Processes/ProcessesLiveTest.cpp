// The module over this machine's own process table, with the platform's live sources.
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "modules/Processes/Processes.h"
#include "support/ModuleRun.h"
#include "support/SpawnedChild.h"
#include "support/TempDir.h"

extern char** environ;

namespace {

std::string joined(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) line += (line.empty() ? "" : " ") + word;
    return line;
}

TEST(ProcessesLive, FindsItselfAndAChildStartedThroughALinkUnderBlanks) {
    test::TempDir tmp;
    const std::filesystem::path program = tmp.mkdir("dir with blanks") / "my sleep";
    std::filesystem::copy_file("/bin/sleep", program);
    const std::string link = tmp.symlink("link to sleep", program.string()).string();
    test::SpawnedChild sleeper(link, {link, "30"});
    pid_t child = sleeper.pid();
    ASSERT_GT(child, 0);

    sys::Machine machine = sys::Machine::local("/", tmp.path());
    modules::Processes processes(machine);
    test::ModuleRun run = test::run_module(processes, "Processes");
    ASSERT_TRUE(run.plist && run.plist->as_dict()) << run.plist_bytes.substr(0, 500);

    const plist::Value* self = run.plist->find(std::to_string(::getpid()));
    ASSERT_TRUE(self);
    EXPECT_EQ(*self->find("command"), plist::Value(joined(::testing::internal::GetArgvs())));
    EXPECT_EQ(*self->find("UID"), plist::Value(static_cast<unsigned>(::geteuid())));

    const plist::Value* started = run.plist->find(std::to_string(child));
    ASSERT_TRUE(started);
    EXPECT_EQ(*started->find("command"), plist::Value(link + " 30"));
    EXPECT_NE(std::find(run.report.begin(), run.report.end(), link), run.report.end());
    EXPECT_NE(run.log.find("pid: " + std::to_string(child) + " " + link), std::string::npos);
}

}  // namespace
