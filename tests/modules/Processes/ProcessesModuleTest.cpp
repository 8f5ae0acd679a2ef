#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "modules/Processes/Processes.h"
#include "modules/Registry.h"
#include "support/FakeMachine.h"
#include "support/ModuleRun.h"
#include "support/TempDir.h"

namespace {

class ProcessesModule : public ::testing::Test {
protected:
    ProcessesModule() {
        // Local time is UTC here, so that a start time has one expected text.
        if (const char* tz = std::getenv("TZ")) saved_tz = tz;
        ::setenv("TZ", "UTC", 1);
        ::tzset();

        root.write("usr/sbin/daemon d", "binary");
        live->processes.push_back({.start_seconds = 1714554753,  // 2024-05-01 09:12:33 UTC
                                   .start_microseconds = 47000,
                                   .flags = 0x4004,
                                   .state = 2,
                                   .pid = 312,
                                   .priority = 200,
                                   .short_name = "daemon d",
                                   .effective_uid = 501,
                                   .parent_pid = 1,
                                   .process_group = 312,
                                   .terminal_device = 0x10000002});
        live->argument_areas[312] =
            test::argument_area(2, "/usr/sbin/daemon d", {"/usr/sbin/daemon d", "-f", "A=1"});
        live->users[501] = {"alice", 20};
        live->terminals[0x10000002] = "ttys002";
        // No password entry, terminal or argument area; an unknown state; 32-bit.
        live->processes.push_back(
            {.state = 9, .pid = 77, .short_name = "orphan", .effective_uid = 4711});
    }
    ~ProcessesModule() override {
        saved_tz ? ::setenv("TZ", saved_tz->c_str(), 1) : ::unsetenv("TZ");
        ::tzset();
    }

    std::optional<std::string> saved_tz;
    test::TempDir root;
    std::shared_ptr<test::FakeLiveSystem> live = std::make_shared<test::FakeLiveSystem>();
    sys::Machine machine = test::fake_machine(root.path(), live);
};

TEST_F(ProcessesModule, EveryProcessGetsThirteenKeysOfTheirKinds) {
    modules::Processes processes(machine);
    test::ModuleRun run = test::run_module(processes, "Processes");

    EXPECT_EQ(run.report, std::vector<std::string>{"/usr/sbin/daemon d"});
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
    EXPECT_EQ(*run.plist->find("77"),
              plist::Value(plist::Dictionary{{"process_name", "orphan"},
                                             {"start_time", "1970-01-01 00:00:00.000"},
                                             {"flag", 0},
                                             {"status", "None"},
                                             {"ppid", 0},
                                             {"process_group_id", 0},
                                             {"UID", 4711},
                                             {"GID", -1},
                                             {"username", "None"},
                                             {"command", "None"},
                                             {"architecture", "32"},
                                             {"priority", 0},
                                             {"tty", "None"}}));

    for (const char* line :
         {"getAllProcesses done! Number of processes: 2", "pid: 312 /usr/sbin/daemon d\n",
          "sysctl 4 failed for pid 77!!", "pid: 77 (null)\n", "Processes.plist done!"}) {
        EXPECT_NE(run.log.find(line), std::string::npos) << line;
    }
}

TEST_F(ProcessesModule, WithoutLiveSourcesTheReportIsEmptyAndSaysWhy) {
    sys::Machine offline = test::fake_machine(root.path());
    auto module = modules::Registry::builtin().create("Processes", offline);
    ASSERT_TRUE(module);
    test::ModuleRun run = test::run_module(*module, "Processes");
    EXPECT_TRUE(run.report.empty());
    ASSERT_TRUE(run.plist);
    EXPECT_EQ(*run.plist, plist::Value(plist::Dictionary{}));
    EXPECT_NE(run.log.find("is not the running system: the process table is not read."),
              std::string::npos);
}

}  // namespace
