// The `tvtriage` command end to end: the real program, with HOME and TMPDIR pointed at a
// temporary folder, and the archive it leaves on that Desktop.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "libs/plist/Reader.h"
#include "support/Archive.h"
#include "support/SpawnedChild.h"
#include "support/TempDir.h"

namespace {

struct Outcome {
    int status = -1;
    std::string output;
};

class CommandTest : public ::testing::Test {
protected:
    Outcome tvtriage(const std::string& arguments) {
        std::string command = "env HOME='" + home.path().string() + "' TMPDIR='" +
                              home.path().string() + "' " TVTRIAGE_BINARY " " + arguments + " 2>&1";
        Outcome outcome;
        FILE* pipe = ::popen(command.c_str(), "r");
        if (!pipe) return outcome;
        char buffer[4096];
        size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
            outcome.output.append(buffer, n);
        int status = ::pclose(pipe);
        outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return outcome;
    }
    std::string unzip(const std::string& member) { return test::zip_member(archive(), member); }
    std::filesystem::path archive() const { return home / "Desktop/tvtriage_results.zip"; }
    std::string config_with(const std::string& module, int enabled) {
        return home
            .write("config.plist",
                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>"
                   "<key>" +
                       module + "</key><dict><key>Enabled</key><integer>" +
                       std::to_string(enabled) +
                       "</integer></dict>"
                       "<key>Samples</key><dict><key>Samples List</key><array/></dict>"
                       "</dict></plist>\n")
            .string();
    }

    test::TempDir home;
};

TEST_F(CommandTest, NoModuleEnabledGivesTheDriverLogAndAnEmptySamplesPlist) {
    home.mkdir("Desktop");
    Outcome outcome = tvtriage("--config " + config_with("Processes", 0));
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_NE(outcome.output.find("Archive: " + archive().string()), std::string::npos)
        << outcome.output;
    EXPECT_NE(outcome.output.find("modules run 0, crashed 0"), std::string::npos);

    std::string log = unzip("tvtriage.log");
    EXPECT_NE(log.find("Starting tvtriage collecting process"), std::string::npos);
    EXPECT_NE(log.find("TVTriage Version: 1.0.8"), std::string::npos);
    EXPECT_NE(log.find("User running this is: "), std::string::npos);
    std::string samples = unzip("Samples/Samples.plist");
    auto parsed = plist::parse(samples);
    ASSERT_TRUE(parsed && parsed->as_dict()) << samples;
    EXPECT_TRUE(parsed->as_dict()->empty());
    EXPECT_EQ(samples.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist", 0), 0u);
}

TEST_F(CommandTest, AnUnknownModuleIsReportedAsCrashed) {
    home.mkdir("Desktop");
    Outcome outcome = tvtriage("--quiet --config " + config_with("Bogus", 1));
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(outcome.output, "") << "--quiet prints nothing";
    std::string log = unzip("tvtriage.log");
    auto heading = log.find("MODULE CRASHED - Bogus");
    ASSERT_NE(heading, std::string::npos) << log;
    EXPECT_NE(log.find("NSInvalidArgumentException", heading), std::string::npos);
    auto members = test::zip_members(archive());
    EXPECT_NE(std::find(members.begin(), members.end(), "Bogus/"), members.end());
}

TEST_F(CommandTest, AMissingDesktopIsExplainedAndNothingRuns) {
    Outcome outcome = tvtriage("--config " + config_with("Processes", 0));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.output.find("Desktop"), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("does not exist"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(home / "tvtriage")) << "no run folder was made";
}

TEST_F(CommandTest, OutputWorkdirAndUsageErrors) {
    home.mkdir("elsewhere");
    home.mkdir("work");
    Outcome outcome = tvtriage("--output '" + (home / "elsewhere/out.zip").string() +
                               "' --workdir '" + (home / "work").string() + "' --modules Bogus");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_TRUE(std::filesystem::exists(home / "elsewhere/out.zip"));
    EXPECT_TRUE(std::filesystem::is_directory(home / "work/tvtriage"));
    EXPECT_NE(outcome.output.find("modules run 1, crashed 1"), std::string::npos);

    EXPECT_EQ(tvtriage("--no-such-option").status, 2);
    EXPECT_EQ(tvtriage("--config /nonexistent.plist").status, 2);
    EXPECT_EQ(tvtriage("--root /nonexistent-root --output x.zip").status, 2);
    Outcome version = tvtriage("--version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.output, "tvtriage 1.0.8\n");
    Outcome help = tvtriage("--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.output.find("--list-modules"), std::string::npos);
}

TEST_F(CommandTest, ARunningProgramIsSampledThroughItsLink) {
    home.mkdir("Desktop");
    auto program = home.mkdir("dir with blanks") / "my sleep";
    std::filesystem::copy_file("/bin/sleep", program);
    std::string link = home.symlink("link to sleep", program.string()).string();
    test::SpawnedChild sleeper(link, {link, "60"});
    ASSERT_GT(sleeper.pid(), 0);

    Outcome outcome = tvtriage("--modules Processes");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    auto samples = plist::parse(unzip("Samples/Samples.plist"));
    ASSERT_TRUE(samples && samples->as_dict());
    const plist::Value* entry = samples->find(link);
    ASSERT_TRUE(entry) << "the link is listed under its own path";
    EXPECT_EQ(*entry->find("RealPath"), plist::Value(program.string()));
    EXPECT_EQ(samples->find(program.string()), nullptr) << "the target has no entry of its own";

    const std::string md5 = *entry->find("md5")->as_string();
    std::string independent = test::shell_output("md5sum '" + program.string() + "'");
    EXPECT_EQ(independent.substr(0, 32), md5);
    std::string copy = unzip("Samples/" + md5);
    EXPECT_EQ(copy.size(), std::filesystem::file_size(program));
}

}  // namespace
