#include <fcntl.h>
#include <gtest/gtest.h>

#include <regex>
#include <thread>

#include "libs/sys/Exception.h"
#include "libs/sys/Log.h"
#include "libs/sys/MainQueue.h"
#include "libs/sys/ProgramRunner.h"
#include "libs/sys/UniqueFd.h"
#include "support/CapturedLog.h"
#include "support/TempDir.h"

namespace {

TEST(ProgramRunner, CapturesOutputAndSendsErrorsToTheLog) {
    test::CapturedLog log;
    test::TempDir dir;
    sys::ProgramRunner runner;
    std::string out =
        runner.run("/bin/sh", {"-c", "printf 'a\\0b'; echo oops >&2; pwd"}, dir.path());
    EXPECT_EQ(out, std::string("a\0b", 3) + dir.path().string() + "\n");
    EXPECT_TRUE(log.contains("oops"));
    // A bare name is looked up on PATH; standard input is empty rather than the terminal.
    EXPECT_EQ(runner.run("cat", {}), "");
}

TEST(ProgramRunner, AProgramThatCannotStartRaises) {
    sys::ProgramRunner runner;
    try {
        runner.run("/nonexistent/system_profiler", {"-xml"});
        FAIL() << "expected an exception";
    } catch (const sys::Exception& e) {
        EXPECT_EQ(e.name(), "NSInvalidArgumentException");
        EXPECT_EQ(e.reason(), "launch path not accessible");
        EXPECT_FALSE(e.call_stack().return_addresses.empty());
    }
    EXPECT_THROW(runner.run("no-such-program-anywhere", {}), sys::Exception);
}

TEST(Log, LinesAreStampedAndRedirectionAppends) {
    test::CapturedLog restore;
    test::TempDir dir;
    auto file = dir.write("module.log", "earlier run\n");
    auto append = [&] {
        sys::UniqueFd fd(::open(file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
        sys::redirect_log(fd.get());
    };
    append();
    sys::log_line("first");
    append();
    sys::logf("second {}", 2);
    std::string text = test::read_text(file);
    EXPECT_EQ(text.rfind("earlier run\n", 0), 0u);
    std::regex line(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} tvtriage\[\d+:\d+\] second 2\n)");
    EXPECT_TRUE(std::regex_search(text, line)) << text;
    EXPECT_LT(text.find("first"), text.find("second 2"));
}

TEST(Exception, StandardExceptionsAreReportedByTheirTypeName) {
    std::out_of_range error("basic_string::substr");
    sys::ExceptionReport report = sys::report_of(error);
    EXPECT_EQ(report.name, "std::out_of_range");
    EXPECT_EQ(report.reason, "basic_string::substr");
    EXPECT_EQ(report.user_info, "(null)");
    EXPECT_FALSE(report.stack.symbols.empty());
    EXPECT_EQ(report.stack.symbols.size(), report.stack.return_addresses.size());
}

TEST(MainLoop, TasksFromTheWorkerRunOnTheMainThreadInOrder) {
    sys::MainLoop loop;
    std::vector<std::thread::id> ran_on;
    std::vector<int> order;
    std::thread worker([&] {
        for (int i = 0; i < 3; ++i) {
            loop.run_sync([&, i] {
                ran_on.push_back(std::this_thread::get_id());
                order.push_back(i);
            });
            // Synchronous: the task has run by the time run_sync returns.
            EXPECT_EQ(order.size(), static_cast<size_t>(i + 1));
        }
        loop.run_sync([&] { loop.stop(); });
    });
    loop.run();
    worker.join();
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));
    for (auto id : ran_on) EXPECT_EQ(id, std::this_thread::get_id());
}

}  // namespace
