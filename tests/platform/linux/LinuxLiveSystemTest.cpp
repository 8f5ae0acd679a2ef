#include "platform/linux/LinuxLiveSystem.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "libs/plist/Reader.h"

namespace platform::linux_host {
namespace {

TEST(LinuxHostLiveSystem, TerminalsUsersAndProfile) {
    LinuxLiveSystem live;
    // /dev/null (1:3) has no fixed terminal name: only the look through /dev finds it.
    EXPECT_EQ(live.terminal_name((1 << 8) | 3), "null");
    EXPECT_FALSE(live.terminal_name(0));
    EXPECT_FALSE(live.user_by_uid(3'999'999'999u));

    std::string error;
    auto document = plist::parse(live.system_profile({"-xml"}), &error);
    ASSERT_TRUE(document && document->as_array()) << error;
    std::vector<std::string> data_types;
    for (const plist::Value& entry : *document->as_array()) {
        const plist::Value* type = entry.find("_dataType");
        ASSERT_TRUE(type && type->as_string() && entry.find("_items"));
        data_types.push_back(*type->as_string());
    }
    EXPECT_EQ(data_types, (std::vector<std::string>{"SPSoftwareDataType", "SPHardwareDataType",
                                                    "SPNetworkDataType"}));
    // Without "-Ki", lsof lists every thread's files again under the process's own pid.
    EXPECT_EQ(std::ranges::count(live.lsof_command().arguments, "-Ki"), 1);
}

}  // namespace
}  // namespace platform::linux_host
