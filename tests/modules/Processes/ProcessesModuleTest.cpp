#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "modules/Processes/Processes.h"
#include "support/CapturedLog.h"
#include "support/FakeMachine.h"
#include "support/LogMessages.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

TEST(ProcessesModule, EveryProcessGetsThirteenKeysOfTheirKinds) {
    test::TempDir root;
    for (const char* file : {"usr/sbin/daemon d", "bin/bash"}) root.write(file, "binary");
    auto live = std::make_shared<test::FakeLiveSystem>();
    // A daemon that started 2024-05-01 09:12:33 UTC (fields in order: start, flags, state, pid,
    // priority, name, uid, parent, group, terminal), and an orphan without a password entry,
    // terminal or argument area, with an unknown state and no 64-bit flag.
    live->processes = {
        {1714554753, 47000, 0x4004, 2, 312, 200, "daemon d", 501, 1, 312, 0x10000002},
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
}

TEST(ProcessesExecPath, FindsTheExecutableInACommandLine) {
    test::TempDir root;
    for (const char* file : {"bin/bash", "opt/x", "opt/x y/bin/tool"}) root.write(file, "binary");
    sys::Machine machine = test::fake_machine(root.path());
    modules::Processes processes(machine);
    // Line, what it finds, and the argument area's executable path (the header). The longest
    // existing prefix wins; blanks split, and the pieces join back with one each. The header
    // stands in only for a line that finds nothing ("None": unreadable), and only if it exists.
    const std::tuple<const char*, std::optional<std::string>, const char*> cases[] = {
        {"/opt/x y/bin/tool -v", "/opt/x y/bin/tool", "/bin/bash"},
        {"/opt/x\ty/bin/tool", "/opt/x y/bin/tool", ""},
        {"/opt/missing -x", std::nullopt, ""},
        {"None", "/bin/bash", "/bin/bash"},
        {"bash -c x", std::nullopt, "/bin/missing"},
        {"", std::nullopt, ""},  // empty text must not stand for the root folder itself
        {"\"/opt/x y/bin/tool\" -v", "/opt/x y/bin/tool", ""},
    };
    for (const auto& [line, expected, header] : cases)
        EXPECT_EQ(processes.get_exec_path(line, header), expected) << line;
}

// Filling queries answered with results in turn: 12 (out of memory) and 5 are retried after a
// one-second pause, -1 gives up; only the 999th attempt says how many it took.
TEST(ProcessesTable, AttemptRules) {
    std::vector<int> gives_up_at_999(999, 5);
    gives_up_at_999.push_back(-1);
    const std::vector<std::string> failed{"sysctl 2 failed!!"};
    const std::tuple<std::vector<int>, bool, int, std::vector<std::string>> cases[] = {
        {{}, true, 0, {}},
        {{12, 0}, true, 1, {}},
        {{-1, 0}, false, 0, failed},
        {gives_up_at_999, false, 999, {failed[0], "sysctl didn't work - after 999 attempts!!"}},
    };
    for (const auto& [results, read, pauses, messages] : cases) {
        test::CapturedLog log;
        auto live = std::make_shared<test::FakeLiveSystem>();
        live->processes.resize(3);
        live->table_results = results;
        sys::Machine machine = test::fake_machine("/", live);
        int slept = 0;
        modules::Processes processes(
            machine, [&slept](std::chrono::seconds pause) { slept += pause.count() == 1; });
        std::uint64_t count = 99;
        EXPECT_EQ(processes.getAllProcesses(&count).has_value(), read) << pauses;
        EXPECT_EQ(std::tie(count, slept), std::make_tuple(read ? 3u : 0u, pauses));
        EXPECT_EQ(test::log_messages(log.text()), messages);
    }
}

}  // namespace
