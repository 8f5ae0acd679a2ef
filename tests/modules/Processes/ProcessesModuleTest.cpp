#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <stdexcept>

#include "modules/Processes/Processes.h"
#include "support/CapturedLog.h"
#include "support/FakeMachine.h"
#include "support/LogMessages.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

TEST(ProcessesModule, EveryProcessGetsThirteenKeysOfTheirKinds) {
    // Local time is UTC here, so that a start time has one expected text.
    const char* tz = std::getenv("TZ");
    const std::optional<std::string> saved_tz = tz ? std::optional<std::string>(tz) : std::nullopt;
    ::setenv("TZ", "UTC", 1);
    ::tzset();

    test::TempDir root;
    root.write("usr/sbin/daemon d", "binary");
    root.write("bin/bash", "binary");
    auto live = std::make_shared<test::FakeLiveSystem>();
    live->processes = {{.start_seconds = 1714554753,  // 2024-05-01 09:12:33 UTC
                        .start_microseconds = 47000,
                        .flags = 0x4004,
                        .state = 2,
                        .pid = 312,
                        .priority = 200,
                        .short_name = "daemon d",
                        .effective_uid = 501,
                        .parent_pid = 1,
                        .process_group = 312,
                        .terminal_device = 0x10000002},
                       // No password entry, terminal or argument area; an unknown state; 32-bit.
                       {.state = 9, .pid = 77, .short_name = "orphan", .effective_uid = 4711},
                       {.pid = 90, .short_name = "bash"}};
    live->argument_areas[312] =
        test::argument_area(2, "/usr/sbin/daemon d", {"/usr/sbin/daemon d", "-f", "A=1"});
    // A bare first word: only the executable path of the header finds the file.
    live->argument_areas[90] = test::argument_area(3, "/bin/bash", {"bash", "-c", "x"});
    live->users[501] = {"alice", 20};
    live->terminals[0x10000002] = "ttys002";
    test::ModuleRun run = test::run_module("Processes", test::fake_machine(root.path(), live));
    saved_tz ? ::setenv("TZ", saved_tz->c_str(), 1) : ::unsetenv("TZ");
    ::tzset();

    EXPECT_EQ(run.report, (std::vector<std::string>{"/usr/sbin/daemon d", "/bin/bash"}));
    EXPECT_EQ(*run.plist->find("90")->find("command"), plist::Value("bash -c x"));
    ASSERT_TRUE(run.plist) << run.plist_bytes;
    EXPECT_EQ(*run.plist->find("312"),
              plist::Value(plist::Dictionary{{"process_name", "daemon d"},
                                             {"start_time", "2024-05-01 09:12:33.047"},
                                             {"flag", 0x4004},
                                             {"status", "currently runnable"},
                                             {"ppid", 1},
                                             {"process_group_id", 312},
                                             {"UID", 501},
                                             {"GID", 20},
                                             {"username", "alice"},
                                             {"command", "/usr/sbin/daemon d -f"},
                                             {"architecture", "64"},
                                             {"priority", -56},  // 200 as a signed byte
                                             {"tty", "ttys002"}}));
    // No password entry, argument area or terminal: "None" for the texts and -1 for the group.
    const plist::Value* orphan = run.plist->find("77");
    ASSERT_TRUE(orphan && orphan->as_dict());
    EXPECT_EQ(orphan->as_dict()->size(), 13u);
    for (const char* key : {"status", "username", "command", "tty"}) {
        EXPECT_EQ(*orphan->find(key), plist::Value("None")) << key;
    }
    EXPECT_EQ(*orphan->find("GID"), plist::Value(-1));
    EXPECT_EQ(*orphan->find("architecture"), plist::Value("32"));
    EXPECT_EQ(*orphan->find("start_time"), plist::Value("1970-01-01 00:00:00.000"));
    EXPECT_TRUE(run.logged("getAllProcesses done! Number of processes: 3"));
    EXPECT_TRUE(run.logged("sysctl 4 failed for pid 77!!"));
    EXPECT_TRUE(run.logged("pid: 77 (null)\n"));
    EXPECT_TRUE(run.logged("pid: 90 /bin/bash\n"));
}

TEST(ProcessesModule, WithoutLiveSourcesTheReportIsEmptyAndSaysWhy) {
    test::TempDir root;
    test::ModuleRun run = test::run_module("Processes", test::fake_machine(root.path()));
    EXPECT_TRUE(run.report.empty());
    ASSERT_TRUE(run.plist);
    EXPECT_EQ(*run.plist, plist::Value(plist::Dictionary{}));
    EXPECT_TRUE(run.logged("is not the running system: the process table is not read."));
}

TEST(ProcessesExecPath, FindsTheExecutableInACommandLine) {
    test::TempDir root;
    root.write("Applications/My App.app/Contents/MacOS/My App", "binary");
    root.write("opt/x y/bin/tool", "binary");
    root.write("opt/x y/bin/too", "binary");
    root.write("opt/two  blanks/tool", "binary");
    sys::Machine machine = test::fake_machine(root.path());
    modules::Processes processes(machine);

    root.write("bin/bash", "binary");
    const struct {
        const char* line;
        std::optional<std::string> expected;
        const char* header = "";  // the argument area's executable path
    } cases[] = {
        // The longest existing prefix of an unquoted line wins.
        {"/Applications/My App.app/Contents/MacOS/My App -psn_0_1",
         "/Applications/My App.app/Contents/MacOS/My App"},
        // Each blank splits, and the pieces join back one blank each: a tab becomes a blank.
        {"/opt/two  blanks/tool --flag", "/opt/two  blanks/tool"},
        {"/opt/x\ty/bin/tool", "/opt/x y/bin/tool"},
        {"/opt -x", "/opt"},  // a folder counts as existing
        {"/opt/missing -x", std::nullopt},
        {"\"/opt/x y/bin/tool\" -v", "/opt/x y/bin/tool"},
        {"'/opt/x y/bin/tool' -v", "/opt/x y/bin/tool"},
        // A quote that never closes takes every piece, and still loses its last character.
        {"\"/opt/x y/bin/tool", "/opt/x y/bin/too"},
        {"None", std::nullopt},  // an unreadable command line
        {"", std::nullopt},      // empty text must not stand for the root folder itself
        // The header stands in only for a line that finds nothing, and only when it exists.
        {"bash -c x", "/bin/bash", "/bin/bash"},
        {"None", "/bin/bash", "/bin/bash"},
        {"bash -c x", std::nullopt, "/bin/missing"},
        {"/opt/x y/bin/tool -v", "/opt/x y/bin/tool", "/bin/bash"},
    };
    for (const auto& [line, expected, header] : cases) {
        SCOPED_TRACE(line);
        EXPECT_EQ(processes.get_exec_path(line, header), expected);
    }
    EXPECT_THROW(processes.get_exec_path("\" /opt/x y/bin/tool"), std::out_of_range);
    root.write("None", "");
    EXPECT_EQ(processes.get_exec_path("None"), "None");  // relative names are taken from the root
}

// Filling queries answered with results in turn: 12 (out of memory) and 5 are retried after a
// one-second pause, -1 gives up; only the 999th attempt says how many it took.
TEST(ProcessesTable, AttemptRules) {
    std::vector<int> gives_up_at_999(999, 5);
    gives_up_at_999.push_back(-1);
    const struct {
        const char* what;
        std::vector<int> results;
        bool read;
        int sleeps;
        std::vector<std::string> messages;
    } cases[] = {
        {"out of memory once", {12, 0}, true, 1, {}},
        {"-1 at once", {-1, 0}, false, 0, {"sysctl 2 failed!!"}},
        {"-1 at attempt 999",
         gives_up_at_999,
         false,
         999,
         {"sysctl 2 failed!!", "sysctl didn't work - after 999 attempts!!"}},
        {"a thousand retries", std::vector<int>(1000, 12), false, 1000, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        test::TempDir root;
        test::CapturedLog log;
        auto live = std::make_shared<test::FakeLiveSystem>();
        live->processes.resize(3);
        live->table_results = c.results;
        sys::Machine machine = test::fake_machine(root.path(), live);
        int sleeps = 0;
        modules::Processes processes(machine, [&sleeps](std::chrono::seconds pause) {
            EXPECT_EQ(pause, std::chrono::seconds(1));
            ++sleeps;
        });
        std::uint64_t count = 99;
        auto records = processes.getAllProcesses(&count);
        EXPECT_EQ(records.has_value(), c.read);
        EXPECT_EQ(count, c.read ? 3u : 0u);
        EXPECT_EQ(sleeps, c.sleeps);
        EXPECT_EQ(test::log_messages(log.text()), c.messages);
    }
}

}  // namespace
