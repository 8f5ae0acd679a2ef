#include <gtest/gtest.h>

#include "modules/Processes/Processes.h"
#include "support/CapturedLog.h"
#include "support/FakeMachine.h"
#include "support/TempDir.h"

namespace {

class ProcessesTable : public ::testing::Test {
protected:
    // Reads the table from a fake answering the filling queries with results, in turn.
    bool read_table(std::vector<int> results) {
        live->processes.resize(3);
        live->table_results = std::move(results);
        sys::Machine machine = test::fake_machine(root.path(), live);
        modules::Processes processes(machine, [this](std::chrono::seconds pause) {
            EXPECT_EQ(pause, std::chrono::seconds(1));
            ++sleeps;
        });
        auto records = processes.getAllProcesses(&count);
        EXPECT_EQ(count, records ? records->size() : 0u);
        return records.has_value();
    }

    test::TempDir root;
    test::CapturedLog log;
    std::shared_ptr<test::FakeLiveSystem> live = std::make_shared<test::FakeLiveSystem>();
    std::uint64_t count = 99;
    int sleeps = 0;
};

TEST_F(ProcessesTable, OutOfMemoryIsRetriedAfterAPause) {
    EXPECT_TRUE(read_table({12, 0}));
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(sleeps, 1);
}

TEST_F(ProcessesTable, MinusOneGivesUpAtOnce) {
    EXPECT_FALSE(read_table({-1, 0}));
    EXPECT_EQ(sleeps, 0);
    EXPECT_TRUE(log.contains("sysctl 2 failed!!"));
    EXPECT_FALSE(log.contains("after 999 attempts"));
}

TEST_F(ProcessesTable, OnlyTheAttemptNumbered999SaysHowManyItTook) {
    std::vector<int> results(999, 5);
    results.push_back(-1);
    EXPECT_FALSE(read_table(results));
    EXPECT_EQ(sleeps, 999);
    EXPECT_TRUE(log.contains("sysctl 2 failed!!\n"));
    EXPECT_TRUE(log.contains("sysctl didn't work - after 999 attempts!!"));
}

TEST_F(ProcessesTable, AThousandRetriesStopWithoutAWord) {
    EXPECT_FALSE(read_table(std::vector<int>(1000, 12)));
    EXPECT_EQ(sleeps, 1000);
    EXPECT_EQ(log.text(), "");
}

}  // namespace
