#include "platform/linux/LinuxLiveSystem.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "libs/plist/Reader.h"
#include "libs/sys/ProgramRunner.h"
#include "libs/sys/UniqueFd.h"
#include "support/SpawnedChild.h"
#include "support/TempDir.h"

namespace platform::linux_host {
namespace {

using namespace std::chrono_literals;

// A copy of sleep under a name with blanks, run with known arguments and environment; killed and
// reaped when the test ends.
class SleepingChild {
public:
    explicit SleepingChild(const test::TempDir& dir)
        : executable_(copy_sleep(dir)),
          started_(std::chrono::system_clock::now()),
          child_(executable_, {executable_.string(), "300"},
                 std::vector<std::string>{"TVTRIAGE_MARKER=present"}) {}

    pid_t pid() const { return child_.pid(); }
    const std::filesystem::path& executable() const { return executable_; }
    std::chrono::system_clock::time_point started() const { return started_; }
    void stop() { child_.stop(); }

private:
    static std::filesystem::path copy_sleep(const test::TempDir& dir) {
        auto executable = dir / "folder with blanks/my sleep";
        std::filesystem::create_directories(executable.parent_path());
        std::filesystem::copy_file("/bin/sleep", executable);
        return executable;
    }

    std::filesystem::path executable_;
    std::chrono::system_clock::time_point started_;
    test::SpawnedChild child_;
};

const ProcessRecord* find_record(const std::vector<ProcessRecord>& records, pid_t pid) {
    auto it = std::find_if(records.begin(), records.end(),
                           [&](const ProcessRecord& r) { return r.pid == pid; });
    return it == records.end() ? nullptr : &*it;
}

// The NUL-terminated strings of an argument area after its count, padding skipped.
std::vector<std::string> strings_after_count(const std::vector<std::uint8_t>& area, size_t size) {
    std::vector<std::string> strings;
    std::string current;
    for (size_t i = sizeof(std::int32_t); i < size; ++i) {
        if (area[i] != 0) {
            current.push_back(static_cast<char>(area[i]));
        } else if (!current.empty()) {
            strings.push_back(std::move(current));
            current.clear();
        }
    }
    return strings;
}

TEST(LinuxHostLiveSystem, ProcessTableDescribesAChild) {
    test::TempDir dir;
    SleepingChild child(dir);
    ASSERT_GT(child.pid(), 0);
    LinuxLiveSystem live;

    size_t estimate = 0;
    ASSERT_EQ(live.query_process_table(nullptr, &estimate), 0);
    EXPECT_GT(estimate, 0u);
    EXPECT_EQ(estimate % kProcessRecordSize, 0u);

    std::vector<ProcessRecord> records;
    size_t size = estimate;
    ASSERT_EQ(live.query_process_table(&records, &size), 0);
    EXPECT_EQ(size, records.size() * kProcessRecordSize);
    EXPECT_TRUE(std::is_sorted(records.begin(), records.end(),
                               [](const auto& a, const auto& b) { return a.pid < b.pid; }));
    EXPECT_TRUE(find_record(records, ::getpid()));

    const ProcessRecord* record = find_record(records, child.pid());
    ASSERT_TRUE(record);
    EXPECT_EQ(record->parent_pid, ::getpid());
    EXPECT_EQ(record->process_group, ::getpgrp());
    EXPECT_EQ(record->short_name, "my sleep");
    EXPECT_EQ(record->effective_uid, ::geteuid());
    EXPECT_EQ(record->state, 3);  // sleeping
    std::ifstream elf(child.executable(), std::ios::binary);
    char header[5] = {};
    elf.read(header, sizeof header);
    EXPECT_EQ((record->flags & 0x4) != 0, header[4] == 2);
    EXPECT_TRUE(record->flags & 0x4000);  // it has exec'd

    // Clock ticks are coarse and the boot time is derived: seconds of slack either way.
    auto started = std::chrono::system_clock::to_time_t(child.started());
    EXPECT_GE(record->start_seconds, started - 5);
    EXPECT_LE(record->start_seconds, started + 5);
    EXPECT_GE(record->start_microseconds, 0);
    EXPECT_LT(record->start_microseconds, 1'000'000);
}

TEST(LinuxHostLiveSystem, ArgumentAreaOfAChild) {
    test::TempDir dir;
    SleepingChild child(dir);
    ASSERT_GT(child.pid(), 0);
    LinuxLiveSystem live;

    int argument_max = 0;
    ASSERT_EQ(live.query_argument_max(&argument_max), 0);
    ASSERT_GT(argument_max, 4096);
    EXPECT_LE(argument_max, kMaxArgumentArea);

    std::vector<std::uint8_t> buffer(static_cast<size_t>(argument_max));
    size_t size = buffer.size();
    ASSERT_EQ(live.query_argument_area(child.pid(), buffer, &size), 0);
    std::int32_t argc = 0;
    ASSERT_GE(size, sizeof argc);
    std::memcpy(&argc, buffer.data(), sizeof argc);
    EXPECT_EQ(argc, 2);
    std::string program = child.executable().string();
    EXPECT_EQ(strings_after_count(buffer, size),
              (std::vector<std::string>{program, program, "300", "TVTRIAGE_MARKER=present"}));

    // A smaller buffer gets the beginning of the area.
    std::vector<std::uint8_t> small(6);
    size_t small_size = small.size();
    ASSERT_EQ(live.query_argument_area(child.pid(), small, &small_size), 0);
    EXPECT_EQ(small_size, 6u);
    EXPECT_TRUE(std::equal(small.begin(), small.end(), buffer.begin()));

    pid_t gone = child.pid();
    child.stop();
    size = buffer.size();
    EXPECT_EQ(live.query_argument_area(gone, buffer, &size), -1);
}

TEST(LinuxHostLiveSystem, TerminalsAndUsers) {
    LinuxLiveSystem live;
    EXPECT_FALSE(live.terminal_name(-1));
    EXPECT_FALSE(live.terminal_name(0));
    // /dev/null (1:3) has no fixed terminal name: only the look through /dev finds it.
    EXPECT_EQ(live.terminal_name((1 << 8) | 3), "null");
    EXPECT_EQ(live.terminal_name(34816), "pts/0");

    auto root = live.user_by_uid(0);
    ASSERT_TRUE(root);
    EXPECT_EQ(root->login, "root");
    EXPECT_EQ(root->primary_gid, 0u);
    EXPECT_FALSE(live.user_by_uid(3'999'999'999u));
}

TEST(LinuxHostLiveSystem, ProfileHasTheProfilerShape) {
    LinuxLiveSystem live;
    std::string error;
    auto document = plist::parse(live.system_profile({"-xml"}), &error);
    ASSERT_TRUE(document) << error;
    ASSERT_TRUE(document->as_array());
    std::vector<std::string> data_types;
    for (const plist::Value& entry : *document->as_array()) {
        ASSERT_TRUE(entry.as_dict());
        const plist::Value* type = entry.find("_dataType");
        ASSERT_TRUE(type && type->as_string());
        ASSERT_TRUE(entry.find("_items") && entry.find("_items")->as_array());
        data_types.push_back(*type->as_string());
        if (*type->as_string() != "SPSoftwareDataType") continue;
        const plist::Value& software = entry.find("_items")->as_array()->at(0);
        const plist::Value* kernel = software.find("kernel_version");
        ASSERT_TRUE(kernel && kernel->as_string());
        EXPECT_TRUE(kernel->as_string()->starts_with("Linux ")) << *kernel->as_string();
    }
    EXPECT_EQ(data_types, (std::vector<std::string>{"SPSoftwareDataType", "SPHardwareDataType",
                                                    "SPNetworkDataType"}));

    auto network = plist::parse(live.system_profile(
        {"SPNetworkDataType", "SPFirewallDataType", "SPAirPortDataType", "-xml"}));
    ASSERT_TRUE(network && network->as_array());
    ASSERT_EQ(network->as_array()->size(), 1u);
    EXPECT_EQ(*network->as_array()->at(0).find("_dataType"), plist::Value("SPNetworkDataType"));
}

TEST(LinuxHostLiveSystem, LsofListsOurSocketOncePerProcess) {
    LinuxLiveSystem live;
    Command command = live.lsof_command();
    ASSERT_TRUE(std::filesystem::exists(command.program)) << command.program;

    sys::UniqueFd listener(::socket(AF_INET, SOCK_STREAM, 0));
    ASSERT_TRUE(listener);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener.get(), 1), 0);
    // A second thread: lsof would list its files again under our pid unless told not to.
    std::atomic<bool> listed = false;
    std::thread idle([&listed] {
        while (!listed) std::this_thread::sleep_for(10ms);
    });

    sys::ProgramRunner runner;
    std::string output = "\n" + runner.run(command.program, command.arguments);
    listed = true;
    idle.join();

    std::string our_set = "\np" + std::to_string(::getpid()) + "\n";
    size_t first = output.find(our_set);
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(output.find(our_set, first + 1), std::string::npos);
    size_t next_set = output.find("\np", first + 1);
    std::string ours = output.substr(first, next_set - first);
    EXPECT_NE(ours.find("\ntIPv4\n"), std::string::npos) << ours;
}

}  // namespace
}  // namespace platform::linux_host
