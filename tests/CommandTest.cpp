// The `tvtriage` command end to end: the real program, with HOME and TMPDIR pointed at a
// temporary folder, and the archive it leaves on that Desktop.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "support/Archive.h"
#include "support/TempDir.h"

namespace {

namespace fs = std::filesystem;

bool has(const std::string& text, const std::string& needle) {
    return text.find(needle) != std::string::npos;
}

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
