#include "modules/Autoruns/CronPathPattern.h"

#include <gtest/gtest.h>

namespace modules {
namespace {

using Matches = std::vector<std::string>;

TEST(CronPathPattern, FindsPathsAsThePatternReadsThem) {
    const std::pair<std::string, Matches> cases[] = {
        {R"(*/5 * * * * /usr/local/bin/backup\ tool --all > /dev/null 2>&1)",
         {"*/5", R"(/usr/local/bin/backup\ tool)", "/dev/null"}},
        {"PATH=/usr/bin:/bin", {"PATH=/usr/bin:/bin"}},
        {"0 1 * * * '/opt/my tool/run'", {"/opt/my", "tool/run"}},
        {"@daily /var/log/", {"/var/log"}},
        {"@daily logs/", {"logs/"}},
        {R"(x \\ /a)", {"/a"}},  // a backslash that escapes no blank ends a match
        {"0 0 * * * echo \"/tmp/a b\" ; /bin/sh -c x", {"/tmp/a", "/bin/sh"}},
        {"nothing to see", {}},
    };
    for (const auto& [line, expected] : cases) EXPECT_EQ(cron_path_matches(line), expected) << line;
}

TEST(CronPathPattern, MegabyteLinesEndQuickly) {
    const std::string run(1 << 20, 'a');
    bool gave_up = true;
    EXPECT_EQ(cron_path_matches(run, &gave_up), Matches{});
    EXPECT_FALSE(gave_up);
    EXPECT_EQ(cron_path_matches(run + "/b", &gave_up), Matches{run + "/b"});
    // Every starting point of the run fails at the dangling escape: the engine's limit ends it.
    EXPECT_EQ(cron_path_matches("/x " + run + "\\ ", &gave_up), Matches{"/x"});
    EXPECT_TRUE(gave_up);
}

}  // namespace
}  // namespace modules
