#include <gtest/gtest.h>

#include <fstream>

#include "libs/Disk/Disk.h"
#include "libs/plist/Reader.h"
#include "libs/sys/Log.h"
#include "libs/sys/ProgramRunner.h"
#include "support/Archive.h"
#include "support/CapturedLog.h"
#include "support/FakeMachine.h"
#include "support/ScratchOutput.h"
#include "tvtriage.h"

namespace {

using plist::Dictionary;
using plist::Value;

Value enabled(Value flag) {
    return Dictionary{{"Enabled", std::move(flag)}};
}

// A module that reports fixed paths after writing its two files, as a real module does.
class ReportingModule : public modules::Module {
public:
    explicit ReportingModule(std::vector<std::string> paths) : paths_(std::move(paths)) {}
    modules::ModuleReport start(const sys::OutputPath& folder) override {
        Disk::create_empty_files(folder, {"Reporting.plist", "Reporting.log"});
        Disk::redirectLog(folder, "Reporting.log");
        sys::log_line("reporting module ran");
        return paths_;
    }

private:
    std::vector<std::string> paths_;
};

class ThrowingModule : public modules::Module {
public:
    modules::ModuleReport start(const sys::OutputPath& folder) override {
        Disk::redirectLog(folder, "Throwing.log");
        throw std::runtime_error("collector fell over");
    }
};

struct Recorded {
    int maximum = -1;
    int increments = 0;
    std::vector<std::string> statuses;
    int done = 0;
    int calls_off_the_main_thread = 0;
};

class DriverTest : public ::testing::Test {
protected:
    std::string unzip(const std::string& member) { return test::zip_member(archive(), member); }
    std::vector<std::string> archive_members() { return test::zip_members(archive()); }
    std::filesystem::path archive() const { return scratch.output().archive(); }

    Recorded run(Value config, std::optional<std::vector<std::string>> only = std::nullopt) {
        sys::Machine machine = test::fake_machine(root.path(), nullptr, programs);
        RunSettings settings{std::move(config), std::move(only), &scratch.output(), &machine,
                             &registry};
        Recorded recorded;
        sys::MainLoop loop;
        const std::thread::id main_thread = std::this_thread::get_id();
        auto on_main = [&] {
            recorded.calls_off_the_main_thread += main_thread != std::this_thread::get_id();
        };
        Callbacks callbacks{
            [&](int amount) {
                on_main();
                recorded.increments += amount;
            },
            [&](const std::string& text) {
                on_main();
                recorded.statuses.push_back(text);
            },
            [&](int maximum) {
                on_main();
                recorded.maximum = maximum;
            },
            [&] {
                on_main();
                ++recorded.done;
                loop.stop();
            },
        };
        std::thread job = tvtriage::start(settings, callbacks, loop, &summary);
        loop.run();
        job.join();
        return recorded;
    }

    test::CapturedLog log;
    test::TempDir root;
    test::ScratchOutput scratch;
    std::shared_ptr<sys::ProgramRunner> programs = std::make_shared<sys::ProgramRunner>();
    modules::Registry registry;
    RunSummary summary;
};

TEST(DriverConfig, OnlyAnEnabledValueEqualToTheNumberOneCounts) {
    Value config = Dictionary{
        {"Integer", enabled(1)}, {"Boolean", enabled(true)}, {"Real", enabled(1.0)},
        {"Two", enabled(2)},     {"Text", enabled("1")},     {"False", enabled(false)},
        {"Samples", enabled(1)}, {"NoKey", Dictionary{}},    {"NotADict", Value("x")},
    };
    EXPECT_EQ(tvtriage::get_enabled_module(config),
              (std::vector<std::string>{"Boolean", "Integer", "Real"}));
    EXPECT_TRUE(tvtriage::get_enabled_module(Value("not a dictionary")).empty());
}

TEST(DriverConfig, ModuleFoldersAreMadeAndExistingOnesKept) {
    test::ScratchOutput scratch;
    scratch.dir().write("tvtriage/A/left-over", "from an aborted run");
    std::vector<std::string> names{"A", "B"};
    const std::filesystem::path run_folder =
        tvtriage::create_module_folders(names, scratch.output()).path();
    EXPECT_EQ(run_folder, scratch.dir() / "tvtriage");
    EXPECT_EQ(names, (std::vector<std::string>{"A", "B"}));
    EXPECT_TRUE(std::filesystem::is_directory(run_folder / "B"));
    EXPECT_TRUE(std::filesystem::is_directory(run_folder / "Samples"));
    EXPECT_TRUE(std::filesystem::exists(run_folder / "A/left-over"));
}

TEST_F(DriverTest, NoModuleEnabledStillArchivesTheDriverLogAndAnEmptySamplesPlist) {
    Recorded recorded = run(Dictionary{{"Processes", enabled(0)}});
    EXPECT_EQ(recorded.maximum, 3);
    EXPECT_EQ(recorded.increments, 3);
    EXPECT_EQ(recorded.statuses,
              (std::vector<std::string>{"Copying samples", "Zipping", "Clean up", "Done"}));
    EXPECT_EQ(recorded.done, 1);
    EXPECT_EQ(recorded.calls_off_the_main_thread, 0);
    EXPECT_EQ(summary.zip_status, 0);

    std::string driver_log = unzip("tvtriage.log");
    EXPECT_NE(driver_log.find("Starting tvtriage collecting process"), std::string::npos);
    EXPECT_NE(driver_log.find("TVTriage Version: 1.0.8"), std::string::npos);
    EXPECT_NE(driver_log.find("User running this is: " + current_user_name()), std::string::npos);
    auto samples = plist::parse(unzip("Samples/Samples.plist"));
    ASSERT_TRUE(samples);
    ASSERT_TRUE(samples->as_dict());
    EXPECT_TRUE(samples->as_dict()->empty());

    // The run folder is emptied but stays.
    auto run_folder = scratch.output().run_folder();
    EXPECT_TRUE(std::filesystem::is_directory(run_folder));
    EXPECT_TRUE(std::filesystem::is_empty(run_folder));
}

TEST_F(DriverTest, CrashingAndUnknownModulesAreLoggedAndEveryStepStillCounts) {
    registry.add("Throwing",
                 [](const sys::Machine&) { return std::make_unique<ThrowingModule>(); });
    registry.add("Reporting", [](const sys::Machine&) {
        return std::make_unique<ReportingModule>(std::vector<std::string>{});
    });
    Value config = Dictionary{{"Bogus", enabled(1)},
                              {"Reporting", enabled(1)},
                              {"Throwing", enabled(1)},
                              {"Samples", Dictionary{{"Enabled", Value(1)}}}};
    Recorded recorded = run(config);

    EXPECT_EQ(recorded.maximum, 6);
    EXPECT_EQ(recorded.increments, 6);
    EXPECT_EQ(recorded.statuses,
              (std::vector<std::string>{"Bogus", "Reporting", "Throwing", "Copying samples",
                                        "Zipping", "Clean up", "Done"}));
    EXPECT_EQ(summary.modules_run, 3);
    EXPECT_EQ(summary.modules_crashed, 2);

    auto members = archive_members();
    auto has = [&](const std::string& m) {
        return std::find(members.begin(), members.end(), m) != members.end();
    };
    EXPECT_TRUE(has("Bogus/"));
    EXPECT_TRUE(has("Throwing/"));

    // No module redirected the log before the unknown one: its crash is in the driver's log.
    std::string driver_log = unzip("tvtriage.log");
    EXPECT_NE(driver_log.find("MODULE CRASHED - Bogus"), std::string::npos);
    // The throwing module's crash lands in its own log, with the exception's lines.
    std::string throwing_log = unzip("Throwing/Throwing.log");
    auto heading = throwing_log.find("MODULE CRASHED - Throwing");
    ASSERT_NE(heading, std::string::npos);
    EXPECT_NE(throwing_log.find("std::runtime_error", heading), std::string::npos);
    EXPECT_NE(throwing_log.find("collector fell over", heading), std::string::npos);
    // "Starting module: " of the next module goes to the previous module's log.
    EXPECT_NE(unzip("Reporting/Reporting.log").find("Starting module: Throwing"),
              std::string::npos);
    // The driver points the log back at its own file for the samples steps.
    EXPECT_NE(driver_log.find("Making Samples.plist"), std::string::npos);
}

TEST_F(DriverTest, ReportedExecutablesAreHashedCopiedAndListed) {
    root.write("bin/tool", "#!/bin/sh\necho tool\n");
    root.symlink("bin/tool-link", "/bin/tool");
    registry.add("Reporting", [](const sys::Machine&) {
        return std::make_unique<ReportingModule>(
            std::vector<std::string>{"/bin/tool-link", "/bin/missing"});
    });
    run(Dictionary{{"Reporting", enabled(1)}}, std::vector<std::string>{"Reporting"});

    auto samples = plist::parse(unzip("Samples/Samples.plist"));
    ASSERT_TRUE(samples && samples->as_dict());
    const Value* link = samples->find("/bin/tool-link");
    ASSERT_TRUE(link);
    EXPECT_EQ(*link->find("RealPath"), Value("/bin/tool"));
    std::string md5 = *link->find("md5")->as_string();
    EXPECT_EQ(md5, Disk::get_file_md5(sys::FileSystem(root.path()), "/bin/tool"));
    EXPECT_EQ(samples->find("/bin/tool"), nullptr);
    EXPECT_EQ(*samples->find("/bin/missing")->find("md5"), Value(Disk::kMissingFileMd5));
    EXPECT_EQ(unzip("Samples/" + md5), "#!/bin/sh\necho tool\n");
    EXPECT_EQ(summary.samples_listed, 2u);
    EXPECT_EQ(summary.samples_copied, 1u);
}

TEST_F(DriverTest, AZipThatCannotStartIsACrashAfterWhichTheJobStillCleansUpAndEnds) {
    auto fake = std::make_shared<test::FakeProgramRunner>();
    fake->missing.push_back("/usr/bin/zip");
    programs = fake;
    Recorded recorded = run(Dictionary{});
    EXPECT_EQ(recorded.done, 1);
    EXPECT_EQ(recorded.increments, 3);
    EXPECT_EQ(summary.zip_problem, "launch path not accessible");
    EXPECT_TRUE(std::filesystem::is_empty(scratch.output().run_folder()));
    // The driver's log went with the clean-up; the crash report was in it.
    EXPECT_FALSE(std::filesystem::exists(archive()));
}

TEST(DriverGuard, AStepThatThrowsIsLoggedUnderItsHeadingAndTheRunGoesOn) {
    test::CapturedLog log;
    EXPECT_FALSE(tvtriage::guarded("COPYING CRASHED", [] { throw std::length_error("too long"); }));
    EXPECT_TRUE(tvtriage::guarded("ARCHIEVING CRASHED", [] {}));
    EXPECT_TRUE(log.contains("COPYING CRASHED"));
    EXPECT_TRUE(log.contains("std::length_error"));
    EXPECT_FALSE(log.contains("ARCHIEVING CRASHED"));
}

}  // namespace
