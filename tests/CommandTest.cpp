// The `tvtriage` command end to end: the real program, with HOME and TMPDIR pointed at a
// temporary folder, and the archive it leaves on that Desktop.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "libs/plist/Reader.h"
#include "support/Archive.h"
#include "support/SpawnedChild.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

struct Outcome {
    int status = -1;
    std::string output;
};

class CommandTest : public ::testing::Test {
protected:
    // Runs the command in the folder `in` (home by default); stderr joins stdout unless told.
    Outcome tvtriage(const std::string& arguments, const std::string& in = {},
                     const std::string& stderr_to = "&1") {
        std::string command = "cd '" + (in.empty() ? home.path().string() : in) +
                              "' && env HOME='" + home.path().string() + "' TMPDIR='" +
                              home.path().string() + "' " TVTRIAGE_BINARY " " + arguments + " 2>" +
                              stderr_to;
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
    fs::path archive() const { return home / "Desktop/tvtriage_results.zip"; }
    bool said(const Outcome& outcome, const std::string& text) {
        return outcome.output.find(text) != std::string::npos;
    }

    test::TempDir home;
};

TEST_F(CommandTest, RelativePathsCountFromTheWorkingDirectory) {
    const fs::path cwd = home.mkdir("somewhere");
    home.write("somewhere/cfg.plist",
               "<plist><dict><key>Processes</key><dict><key>Enabled</key><integer>0</integer>"
               "</dict></dict></plist>");
    home.write("somewhere/fixture/private/etc/hosts", "::1 localhost\n");
    home.mkdir("somewhere/w");
    Outcome outcome = tvtriage(
        "--quiet --output out.zip --config cfg.plist --workdir w --root fixture --modules Net",
        cwd.string());
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_EQ(outcome.output, "") << "--quiet prints nothing";
    EXPECT_NE(test::zip_member(cwd / "out.zip", "tvtriage.log").find("TVTriage Version: 1.0.8"),
              std::string::npos);
    EXPECT_NE(test::zip_member(cwd / "out.zip", "Net/Net.plist").find("::1 localhost"),
              std::string::npos)
        << "the root is the fixture beside the working directory";
    struct stat st {};
    ASSERT_EQ(::stat((cwd / "w/tvtriage").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u) << "the run folder is the running user's alone";
}

TEST_F(CommandTest, UsageErrorsNameTheBadEntryAndRunNothing) {
    const std::pair<std::string, std::string> cases[] = {
        {"--modules Samples", "\"Samples\" is not a module"},
        {"--modules Net,TV,Net", "\"Net\" is named twice"},
        {"--modules ../../x", "\"../../x\" is not a module"},
        {"--no-such-option", "--no-such-option"},
        {"--config /nonexistent.plist", "/nonexistent.plist"},
        {"--root /nonexistent-root --output x.zip", "/nonexistent-root"},
    };
    home.mkdir("Desktop");
    for (const auto& [arguments, message] : cases) {
        Outcome outcome = tvtriage(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_TRUE(said(outcome, message)) << arguments << ": " << outcome.output;
    }
    EXPECT_FALSE(fs::exists(home / "tvtriage")) << "no run folder was made";

    // What the user asked to see goes to standard output.
    Outcome listed = tvtriage("--list-modules", {}, "/dev/null");
    EXPECT_EQ(listed.status, 0);
    EXPECT_TRUE(said(listed, "Net\tenabled\n")) << listed.output;
    EXPECT_EQ(tvtriage("--version", {}, "/dev/null").output, "tvtriage 1.0.8\n");
    EXPECT_TRUE(said(tvtriage("--help", {}, "/dev/null"), "--list-modules"));
}

TEST_F(CommandTest, AnArchiveThatCannotBeWrittenIsExplainedWithExitStatusOne) {
    Outcome no_desktop = tvtriage("--modules TV");
    EXPECT_EQ(no_desktop.status, 1);
    EXPECT_TRUE(
        said(no_desktop, "Desktop folder " + (home / "Desktop").string() + " does not exist"))
        << no_desktop.output;

    home.write("Desktop/tvtriage_results.zip", "PK\x03\x04 damaged");
    Outcome damaged = tvtriage("--modules TV");
    EXPECT_EQ(damaged.status, 1) << damaged.output;
    EXPECT_TRUE(said(damaged, "the archive could not be written: zip exited with status"))
        << damaged.output;
    EXPECT_TRUE(said(damaged, "No archive:"));
}

TEST_F(CommandTest, ARunFolderThatIsALinkOrAnotherUsersIsRefusedAndNothingIsWrittenThroughIt) {
    home.mkdir("Desktop");
    test::TempDir victim;
    const fs::path victim_log = victim.write("important.log", "untouched\n");

    home.symlink("tvtriage", victim.path().string());
    Outcome linked = tvtriage("--modules TV");
    EXPECT_EQ(linked.status, 1);
    EXPECT_TRUE(said(linked, "is a symbolic link")) << linked.output;
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
    EXPECT_NE(test::zip_member(archive(), "TV/TV.log").find("Getting"), std::string::npos);

    if (::geteuid() != 0) GTEST_SKIP() << "handing the folder to another user needs root";
    ASSERT_EQ(::chown((home / "tvtriage").c_str(), 65534, 65534), 0);
    Outcome foreign = tvtriage("--modules TV");
    EXPECT_EQ(foreign.status, 1);
    EXPECT_TRUE(said(foreign, "belongs to another user")) << foreign.output;
}

TEST_F(CommandTest, ARunningProgramIsSampledThroughItsLink) {
    home.mkdir("Desktop");
    auto program = home.mkdir("dir with blanks") / "my sleep";
    fs::copy_file("/bin/sleep", program);
    std::string link = home.symlink("link to sleep", program.string()).string();
    test::SpawnedChild sleeper(link, {link, "60"});
    ASSERT_GT(sleeper.pid(), 0);

    Outcome outcome = tvtriage("--modules Processes");
    EXPECT_EQ(outcome.status, 0) << outcome.output;
    EXPECT_TRUE(said(outcome, "Archive: " + archive().string())) << outcome.output;
    auto samples = plist::parse(test::zip_member(archive(), "Samples/Samples.plist"));
    ASSERT_TRUE(samples && samples->as_dict());
    const plist::Value* entry = samples->find(link);
    ASSERT_TRUE(entry) << "the link is listed under its own path";
    EXPECT_EQ(*entry->find("RealPath"), plist::Value(program.string()));
    EXPECT_EQ(samples->find(program.string()), nullptr) << "the target has no entry of its own";

    const std::string md5 = *entry->find("md5")->as_string();
    std::string independent = test::shell_output("md5sum '" + program.string() + "'");
    EXPECT_EQ(independent.substr(0, 32), md5);
    std::string copy = test::zip_member(archive(), "Samples/" + md5);
    EXPECT_EQ(copy.size(), fs::file_size(program));
}

}  // namespace
