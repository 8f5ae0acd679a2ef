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
    test::TempDir root;
    root.write("usr/sbin/daemon d", "binary");
    root.write("bin/bash", "binary");
    auto live = std::make_shared<test::FakeLiveSystem>();
    // A daemon that started 2024-05-01 09:12:33 UTC, and an orphan without a password entry,
    // terminal or argument area, with an unknown state and no 64-bit flag.
    live->processes = {{.start_seconds = 1714554753,
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
                       {.state = 9, .pid = 77, .short_name = "orphan", .effective_uid = 4711},
                       {.pid = 90, .short_name = "bash"}};
    live->argument_areas[312] =
        test::argument_area(2, "/usr/sbin/daemon d", {"/usr/sbin/daemon d", "-f", "A=1"});
    // A bare first word: only the executable path of the header finds the file.
    live->argument_areas[90] = test::argument_area(3, "/bin/bash", {"bash", "-c", "x"});
    live->users[501] = {"alice", 20};
    live->terminals[0x10000002] = "ttys002";
    // Local time is UTC for the run, so that a start time has one expected text.
    const char* tz = std::getenv("TZ");
    const std::optional<std::string> saved_tz = tz ? std::optional<std::string>(tz) : std::nullopt;
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    test::ModuleRun run = test::run_module("Processes", test::fake_machine(root.path(), live));
    saved_tz ? ::setenv("TZ", saved_tz->c_str(), 1) : ::unsetenv("TZ");
    ::tzset();

    EXPECT_EQ(run.report, (std::vector<std::string>{"/usr/sbin/daemon d", "/bin/bash"}));
    ASSERT_TRUE(run.plist && run.plist->find("312") && run.plist->find("77")) << run.plist_bytes;
    // Each key with its value for the daemon and for the orphan: "None" for the texts it lacks,
    // -1 for the group of a user without a password entry. A priority of 200 is -56 as a byte.
    const std::tuple<const char*, plist::Value, plist::Value> keys[] = {
        {"process_name", "daemon d", "orphan"},
        {"start_time", "2024-05-01 09:12:33.047", "1970-01-01 00:00:00.000"},
        {"flag", 0x4004, 0},
        {"status", "currently runnable", "None"},
        {"ppid", 1, 0},
        {"process_group_id", 312, 0},
        {"UID", 501, 4711},
        {"GID", 20, -1},
        {"username", "alice", "None"},
        {"command", "/usr/sbin/daemon d -f", "None"},
        {"architecture", "64", "32"},
        {"priority", -56, 0},
        {"tty", "ttys002", "None"}};
    plist::Dictionary daemon, orphan;
    for (const auto& [key, daemon_value, orphan_value] : keys) {
        daemon[key] = daemon_value;
        orphan[key] = orphan_value;
    }
    EXPECT_EQ(*run.plist->find("312"), plist::Value(daemon));
    EXPECT_EQ(*run.plist->find("77"), plist::Value(orphan));
    EXPECT_TRUE(run.logged("pid: 77 (null)\n"));
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
    root.write("bin/bash", "binary");
    root.write("Applications/My App.app/Contents/MacOS/My App", "binary");
    root.write("Applications/My", "binary");  // a shorter prefix that exists as well
    root.write("opt/x y/bin/tool", "binary");
    root.write("opt/x y/bin/too", "binary");
    root.write("opt/two  blanks/tool", "binary");
    sys::Machine machine = test::fake_machine(root.path());
    modules::Processes processes(machine);
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
        {"", std::nullopt},  // empty text must not stand for the root folder itself
        // The header stands in only for a line that finds nothing ("None": it was unreadable),
        // and only when it exists.
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
    const std::tuple<std::vector<int>, bool, int, std::vector<std::string>> cases[] = {
        {{12, 0}, true, 1, {}},
        {{-1, 0}, false, 0, {"sysctl 2 failed!!"}},
        {gives_up_at_999,
         false,
         999,
         {"sysctl 2 failed!!", "sysctl didn't work - after 999 attempts!!"}},
        {std::vector<int>(1000, 12), false, 1000, {}},
    };
    for (const auto& [results, read, pauses, messages] : cases) {
        SCOPED_TRACE(pauses);
        test::CapturedLog log;
        auto live = std::make_shared<test::FakeLiveSystem>();
        live->processes.resize(3);
        live->table_results = results;
        sys::Machine machine = test::fake_machine("/", live);
        int slept = 0;
        modules::Processes processes(machine, [&slept](std::chrono::seconds pause) {
            EXPECT_EQ(pause, std::chrono::seconds(1));
            ++slept;
        });
        std::uint64_t count = 99;
        EXPECT_EQ(processes.getAllProcesses(&count).has_value(), read);
        EXPECT_EQ(std::tie(count, slept), std::make_tuple(read ? 3u : 0u, pauses));
        EXPECT_EQ(test::log_messages(log.text()), messages);
    }
}

}  // namespace
