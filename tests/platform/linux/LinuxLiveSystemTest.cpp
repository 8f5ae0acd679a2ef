#include "platform/linux/LinuxLiveSystem.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "libs/plist/Reader.h"
#include "libs/sys/ProgramRunner.h"
#include "libs/sys/UniqueFd.h"
#include "support/FakeMachine.h"
#include "support/SpawnedChild.h"
#include "support/TempDir.h"

namespace platform::linux_host {
namespace {

// A copy of sleep under a name with blanks, run with known arguments and environment.
TEST(LinuxHostLiveSystem, AChildIsListedWithItsArgumentArea) {
    test::TempDir dir;
    const std::string program = (dir.mkdir("folder with blanks") / "my sleep").string();
    std::filesystem::copy_file("/bin/sleep", program);
    const std::time_t started = std::time(nullptr);
    test::SpawnedChild child(program, {program, "300"},
                             std::vector<std::string>{"TVTRIAGE_MARKER=present"});
    ASSERT_GT(child.pid(), 0);
    LinuxLiveSystem live;

    size_t size = 0;
    ASSERT_EQ(live.query_process_table(nullptr, &size), 0);
    std::vector<ProcessRecord> records;
    ASSERT_EQ(live.query_process_table(&records, &size), 0);
    EXPECT_EQ(size, records.size() * kProcessRecordSize);
    auto record = std::find_if(records.begin(), records.end(),
                               [&](const ProcessRecord& r) { return r.pid == child.pid(); });
    ASSERT_NE(record, records.end());
    EXPECT_EQ(std::tie(record->parent_pid, record->short_name, record->effective_uid),
              std::tuple(::getpid(), "my sleep", ::geteuid()));
    EXPECT_EQ(record->state, 3);                                                 // sleeping
    EXPECT_EQ((record->flags & 0x4) != 0, test::read_text(program).at(4) == 2);  // ELF class
    EXPECT_TRUE(record->flags & 0x4000);                                         // it has exec'd
    // Clock ticks are coarse and the boot time is derived: seconds of slack either way.
    EXPECT_NEAR(static_cast<double>(record->start_seconds), static_cast<double>(started), 5);

    int argument_max = 0;
    ASSERT_EQ(live.query_argument_max(&argument_max), 0);
    ASSERT_TRUE(argument_max > 4096 && argument_max <= kMaxArgumentArea) << argument_max;
    std::vector<std::uint8_t> area(static_cast<size_t>(argument_max));
    size = area.size();
    ASSERT_EQ(live.query_argument_area(child.pid(), area, &size), 0);
    area.resize(size);
    // The path and its NUL are padded to a multiple of 8 bytes.
    EXPECT_EQ(area, test::argument_area(2, program, {program, "300", "TVTRIAGE_MARKER=present"},
                                        7 - static_cast<int>(program.size() % 8)));
    // A smaller buffer gets the beginning of the area; a process that is gone, nothing.
    std::vector<std::uint8_t> small(6);
    size = small.size();
    ASSERT_EQ(live.query_argument_area(child.pid(), small, &size), 0);
    EXPECT_EQ(small, std::vector<std::uint8_t>(area.begin(), area.begin() + 6));
    EXPECT_EQ(size, 6u);
    const pid_t gone = child.pid();
    child.stop();
    EXPECT_EQ(live.query_argument_area(gone, area, &size), -1);
}

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
        const plist::Value* items = entry.find("_items");
        ASSERT_TRUE(type && type->as_string() && items && items->as_array());
        data_types.push_back(*type->as_string());
        if (data_types.back() != "SPSoftwareDataType") continue;
        const plist::Value* kernel = items->as_array()->at(0).find("kernel_version");
        EXPECT_TRUE(kernel && kernel->as_string() && kernel->as_string()->starts_with("Linux "));
    }
    EXPECT_EQ(data_types, (std::vector<std::string>{"SPSoftwareDataType", "SPHardwareDataType",
                                                    "SPNetworkDataType"}));
}

TEST(LinuxHostLiveSystem, LsofListsOurSocketOncePerProcess) {
    LinuxLiveSystem live;
    Command command = live.lsof_command();
    ASSERT_TRUE(std::filesystem::exists(command.program)) << command.program;
    sys::UniqueFd listener(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener.get(), 1), 0);
    // A second thread: lsof would list its files again under our pid unless told not to.
    std::jthread idle([](std::stop_token stop) {
        while (!stop.stop_requested()) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    });
    std::string output = "\n" + sys::ProgramRunner().run(command.program, command.arguments);

    std::string our_set = "\np" + std::to_string(::getpid()) + "\n";
    size_t first = output.find(our_set);
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(output.find(our_set, first + 1), std::string::npos);
    std::string ours = output.substr(first, output.find("\np", first + 1) - first);
    EXPECT_NE(ours.find("\ntIPv4\n"), std::string::npos) << ours;
}

}  // namespace
}  // namespace platform::linux_host
