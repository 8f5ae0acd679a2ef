#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "libs/Disk/Disk.h"
#include "support/Archive.h"
#include "support/CapturedLog.h"
#include "support/FakeMachine.h"
#include "support/ScratchOutput.h"
#include "tvtriage.h"

namespace {

namespace fs = std::filesystem;
using plist::Dictionary, plist::Value;
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
    EXPECT_TRUE(fs::is_empty(scratch.output().run_folder())) << "emptied, but there";
}

// A zip that cannot start is a crash of its step: the job still cleans up and ends.
TEST_F(DriverTest, AFailedArchiveStepStillCleansUpAndCallsDone) {
    auto fake = std::make_shared<test::FakeProgramRunner>();
    fake->missing.push_back("/usr/bin/zip");
    programs = fake;
    run(Dictionary{});
    EXPECT_EQ(calls.back(), "done");
    EXPECT_EQ(summary.zip_problem, "launch path not accessible");
    EXPECT_TRUE(fs::is_empty(scratch.output().run_folder()));
}

// The `tvtriage` command end to end: the real program, with HOME and TMPDIR pointed at a
// temporary folder, and the archive it leaves on that Desktop.
struct Outcome {
    int status = -1;
    std::string output;
};

class CommandTest : public ::testing::Test {
protected:
    // Runs the command in the folder `in` (home by default); stderr joins stdout unless told.
    Outcome tvtriage(const std::string& arguments, const std::string& in = {},
                     const std::string& stderr_to = "&1") {
        const fs::path out = scratch / "out";
        const std::string command = "cd '" + (in.empty() ? home.path().string() : in) +
                                    "' && env HOME='" + home.path().string() + "' TMPDIR='" +
                                    home.path().string() + "' " TVTRIAGE_BINARY " " + arguments +
                                    " >'" + out.string() + "' 2>" + stderr_to;
        const int status = std::system(command.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, test::read_text(out)};
    }
    fs::path archive() const { return home / "Desktop/tvtriage_results.zip"; }

    test::TempDir home, scratch;
};

TEST_F(CommandTest, RelativePathsCountFromTheWorkingDirectory) {
    const fs::path cwd = home.mkdir("somewhere");
    home.write("somewhere/cfg.plist", "<plist><dict/></plist>");
    home.write("somewhere/fixture/private/etc/hosts", "::1 localhost\n");
    home.mkdir("somewhere/w");
    Outcome outcome = tvtriage(
        "--quiet --output out.zip --config cfg.plist --workdir w --root fixture --modules Net",
        cwd.string());
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(outcome.output, "") << "--quiet prints nothing";
    EXPECT_TRUE(has(test::zip_member(cwd / "out.zip", "Net/Net.plist"), "::1 localhost"))
        << "the root is the fixture beside the working directory";
    EXPECT_EQ(fs::status(cwd / "w/tvtriage").permissions(), fs::perms::owner_all)
        << "the run folder is the running user's alone";
}

TEST_F(CommandTest, RefusalsNameTheProblemAndMakeNoRunFolder) {
    const std::tuple<std::string, int, std::string> cases[] = {
        {"--modules Samples", 2, "\"Samples\" is not a module"},
        {"--modules Net,TV,Net", 2, "\"Net\" is named twice"},
        {"--modules ../../x", 2, "\"../../x\" is not a module"},
        {"--modules ,", 2, "names no module"},
        {"--no-such-option", 2, "--no-such-option"},
        {"--config /nonexistent.plist", 2, "/nonexistent.plist"},
        {"--root /nonexistent-root", 2, "/nonexistent-root"},
        {"--modules TV", 1, "Desktop folder " + (home / "Desktop").string() + " does not exist"},
    };
    for (const auto& [arguments, status, message] : cases) {
        Outcome outcome = tvtriage(arguments);
        EXPECT_EQ(outcome.status, status) << arguments;
        EXPECT_TRUE(has(outcome.output, message)) << arguments << ": " << outcome.output;
    }
    EXPECT_FALSE(fs::exists(home / "tvtriage"));

    // What the user asked to see goes to standard output.
    Outcome listed = tvtriage("--list-modules", {}, "/dev/null");
    EXPECT_EQ(listed.status, 0);
    EXPECT_TRUE(has(listed.output, "Net\tenabled\n")) << listed.output;
}

TEST_F(CommandTest, NothingIsWrittenOverADamagedArchiveOrThroughALinkInTheRunFolder) {
    home.write("Desktop/tvtriage_results.zip", "PK\x03\x04 damaged");
    Outcome damaged = tvtriage("--modules TV");
    EXPECT_EQ(damaged.status, 1) << damaged.output;
    EXPECT_TRUE(has(damaged.output, "the archive could not be written: zip exited with status"))
        << damaged.output;
    EXPECT_TRUE(has(damaged.output, "No archive:"));
    fs::remove(archive());

    test::TempDir victim;
    const fs::path victim_log = victim.write("important.log", "untouched\n");
    fs::remove_all(home / "tvtriage");
    home.symlink("tvtriage", victim.path().string());
    Outcome linked = tvtriage("--modules TV");
    EXPECT_EQ(linked.status, 1);
    EXPECT_TRUE(has(linked.output, "is a symbolic link")) << linked.output;
    EXPECT_EQ(std::distance(fs::directory_iterator(victim.path()), {}), 1);

    // Our own run folder from an earlier run, with links planted where the log and a module's
    // files go: they are replaced, never followed.
    fs::remove(home / "tvtriage");
    home.symlink("tvtriage/tvtriage.log", victim_log.string());
    home.symlink("tvtriage/TV", victim.path().string());
    Outcome planted = tvtriage("--modules TV");
    EXPECT_EQ(planted.status, 0) << planted.output;
    EXPECT_EQ(test::read_text(victim_log), "untouched\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(victim.path()), {}), 1);
    EXPECT_TRUE(has(planted.output, "Archive: " + archive().string())) << planted.output;
    EXPECT_TRUE(has(test::zip_member(archive(), "TV/TV.log"), "Getting"));

    if (::geteuid() != 0) GTEST_SKIP() << "handing the folder to another user needs root";
    ASSERT_EQ(::chown((home / "tvtriage").c_str(), 65534, 65534), 0);
    Outcome foreign = tvtriage("--modules TV");
    EXPECT_EQ(foreign.status, 1);
    EXPECT_TRUE(has(foreign.output, "belongs to another user")) << foreign.output;
}

}  // namespace
