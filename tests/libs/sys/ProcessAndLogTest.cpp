#include <gtest/gtest.h>

#include <thread>

#include "libs/sys/Exception.h"
#include "libs/sys/MainQueue.h"
#include "libs/sys/ProgramRunner.h"
#include "support/CapturedLog.h"
#include "support/TempDir.h"

namespace {

TEST(ProgramRunner, CapturesOutputSendsErrorsToTheLogAndRaisesWhenItCannotStart) {
    test::CapturedLog log;
    test::TempDir dir;
    sys::ProgramRunner runner;
    EXPECT_EQ(runner.run("/bin/sh", {"-c", "printf 'a\\0b'; echo oops >&2; pwd"}, dir.path()),
              std::string("a\0b", 3) + dir.path().string() + "\n");
    EXPECT_TRUE(log.contains("oops"));
    // A bare name is looked up on PATH; standard input is empty rather than the terminal.
    EXPECT_EQ(runner.run("cat", {}), "");
    int status = -1;
    runner.run("/bin/sh", {"-c", "kill -9 $$"}, {}, &status);
    EXPECT_EQ(status, 128 + 9) << "ended by a signal: 128 + its number";
    try {
        runner.run("/nonexistent/system_profiler", {"-xml"});
        ADD_FAILURE() << "a missing program started";
    } catch (const sys::Exception& e) {
        EXPECT_EQ(e.name() + ": " + e.reason(),
                  "NSInvalidArgumentException: launch path not accessible");
    }
    EXPECT_THROW(runner.run("no-such-program-anywhere", {}), sys::Exception);
}

TEST(MainLoop, TasksFromTheWorkerRunOnTheMainThreadInOrder) {
    sys::MainLoop loop;
    std::vector<std::thread::id> ran_on;
    std::thread worker([&] {
        for (std::size_t i = 1; i <= 3; ++i) {
            loop.run_sync([&] { ran_on.push_back(std::this_thread::get_id()); });
            EXPECT_EQ(ran_on.size(), i) << "run_sync returns once its task has run";
        }
        loop.run_sync([&] { loop.stop(); });
    });
    loop.run();
    worker.join();
    EXPECT_EQ(ran_on, std::vector<std::thread::id>(3, std::this_thread::get_id()));
}

}  // namespace
