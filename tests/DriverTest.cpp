#include <gtest/gtest.h>

#include "libs/Disk/Disk.h"
#include "support/Archive.h"
#include "support/CapturedLog.h"
#include "support/FakeMachine.h"
#include "support/ScratchOutput.h"
#include "tvtriage.h"

namespace {

using plist::Dictionary;
using plist::Value;
using Names = std::vector<std::string>;

Value enabled(Value flag) {
    return Dictionary{{"Enabled", std::move(flag)}};
}

bool has(const std::string& text, const std::string& needle) {
    return text.find(needle) != std::string::npos;
}

// Points the log at "<name>.log" in its folder, as a real module does, then runs the test's body.
struct ScriptedModule : modules::Module {
    ScriptedModule(std::string name, std::function<modules::ModuleReport()> body)
        : log(std::move(name) + ".log"), body(std::move(body)) {}
    modules::ModuleReport start(const sys::OutputPath& folder) override {
        Disk::create_empty_files(folder, {log});
        Disk::redirectLog(folder, log);
        return body();
    }
    std::string log;
    std::function<modules::ModuleReport()> body;
};

class DriverTest : public ::testing::Test {
protected:
    void add_module(const std::string& name, std::function<modules::ModuleReport()> body) {
        registry.add(name, [name, body](const sys::Machine&) {
            return std::make_unique<ScriptedModule>(name, body);
        });
    }
    // Runs the job and records every callback in order ("max 6", "+1", a status text, "done").
    void run(Value config) {
        sys::Machine machine = test::fake_machine(root.path(), nullptr, programs);
        RunSettings settings{std::move(config), std::nullopt, &scratch.output(), &machine,
                             &registry};
        sys::MainLoop loop;
        const std::thread::id main_thread = std::this_thread::get_id();
        auto note = [&](std::string call) {
            calls.push_back(std::move(call));
            calls_off_the_main_thread += std::this_thread::get_id() != main_thread;
            if (calls.back() == "done") loop.stop();
        };
        Callbacks callbacks{[&](int amount) { note("+" + std::to_string(amount)); }, note,
                            [&](int maximum) { note("max " + std::to_string(maximum)); },
                            [&] { note("done"); }};
        std::thread job = tvtriage::start(settings, callbacks, loop, &summary);
        loop.run();
        job.join();
    }
    std::string unzip(const std::string& member) {
        return test::zip_member(scratch.output().archive(), member);
    }

    test::CapturedLog log;
    test::TempDir root;
    test::ScratchOutput scratch;
    modules::Registry registry;
    std::shared_ptr<sys::ProgramRunner> programs = std::make_shared<sys::ProgramRunner>();
    RunSummary summary;
    Names calls;
    int calls_off_the_main_thread = 0;
};

TEST(DriverConfig, OnlyAnEnabledValueEqualToTheNumberOneCounts) {
    Value config = Dictionary{
        {"Integer", enabled(1)}, {"Boolean", enabled(true)}, {"Real", enabled(1.0)},
        {"Two", enabled(2)},     {"Text", enabled("1")},     {"False", enabled(false)},
        {"Samples", enabled(1)}, {"NoKey", Dictionary{}},    {"NotADict", Value("x")},
    };
    EXPECT_EQ(tvtriage::get_enabled_module(config), (Names{"Boolean", "Integer", "Real"}));
}

// An unknown module, one that reports a link and a missing file, and one that throws.
TEST_F(DriverTest, CrashesAreIsolatedAndTheReportedFilesAreHashedCopiedAndArchived) {
    root.write("bin/tool", "#!/bin/sh\necho tool\n");
    root.symlink("bin/tool-link", "/bin/tool");
    scratch.dir().write("tvtriage/Reporting/left-over", "from an aborted run");
    add_module("Reporting", [] { return Names{"/bin/tool-link", "/bin/missing"}; });
    add_module("Throwing",
               []() -> modules::ModuleReport { throw std::runtime_error("collector fell over"); });
    run(Dictionary{{"Bogus", enabled(1)},
                   {"Reporting", enabled(1)},
                   {"Throwing", enabled(1)},
                   {"Disabled", enabled(0)},
                   {"Samples", enabled(1)}});

    EXPECT_EQ(calls,
              (Names{"max 6", "Bogus", "+1", "Reporting", "+1", "Throwing", "+1", "Copying samples",
                     "+1", "Zipping", "+1", "Clean up", "+1", "Done", "done"}));
    EXPECT_EQ(calls_off_the_main_thread, 0);
    EXPECT_EQ(std::tie(summary.modules_run, summary.modules_crashed, summary.zip_status,
                       summary.samples_listed, summary.samples_copied),
              std::make_tuple(3, 2, 0, std::size_t{2}, std::size_t{1}));

    // No module redirected the log before the unknown one: its crash is in the driver's log,
    // which the driver points the log back at for the samples steps.
    const std::string driver_log = unzip("tvtriage.log");
    EXPECT_TRUE(has(driver_log, "User running this is: " + current_user_name()));
    EXPECT_TRUE(has(driver_log, "MODULE CRASHED - Bogus"));
    EXPECT_TRUE(has(driver_log, "Making Samples.plist"));
    // The throwing module's crash lands in its own log, with the exception's lines.
    const std::string throwing_log = unzip("Throwing/Throwing.log");
    const std::string crash = throwing_log.substr(throwing_log.find("MODULE CRASHED - Throwing"));
    EXPECT_TRUE(has(crash, "std::runtime_error") && has(crash, "collector fell over")) << crash;
    // "Starting module: " of the next module goes to the previous module's log.
    EXPECT_TRUE(has(unzip("Reporting/Reporting.log"), "Starting module: Throwing"));

    const std::string md5 = Disk::get_file_md5(sys::FileSystem(root.path()), "/bin/tool");
    EXPECT_EQ(unzip("Samples/" + md5), "#!/bin/sh\necho tool\n");
    EXPECT_EQ(unzip("Reporting/left-over"), "from an aborted run") << "a module folder is reused";
    EXPECT_TRUE(std::filesystem::is_empty(scratch.output().run_folder())) << "emptied, but there";
}

// A zip that cannot start is a crash of its step: the job still cleans up and ends.
TEST_F(DriverTest, AFailedArchiveStepStillCleansUpAndCallsDone) {
    auto fake = std::make_shared<test::FakeProgramRunner>();
    fake->missing.push_back("/usr/bin/zip");
    programs = fake;
    run(Dictionary{});
    EXPECT_EQ(calls.back(), "done");
    EXPECT_EQ(summary.zip_problem, "launch path not accessible");
    EXPECT_TRUE(std::filesystem::is_empty(scratch.output().run_folder()));

    test::CapturedLog guard_log;
    EXPECT_FALSE(tvtriage::guarded("COPYING CRASHED", [] { throw std::length_error("x"); }));
    EXPECT_TRUE(guard_log.contains("COPYING CRASHED") && guard_log.contains("std::length_error"));
}

}  // namespace
