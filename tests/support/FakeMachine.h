// Fakes of the examined machine's live sources and program runner, and a Machine over them.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "libs/sys/Exception.h"
#include "libs/sys/Machine.h"
#include "platform/KernelProcessRecord.h"
#include "platform/LiveSystem.h"

namespace test {

// Records every program run and answers with canned output per program path and exit status 0; a
// program named in missing cannot be started (throws as the real runner does).
class FakeProgramRunner : public sys::ProgramRunner {
public:
    struct Call {
        std::string program;
        std::vector<std::string> arguments;
    };
    std::map<std::string, std::string> outputs;  // program -> standard output
    std::vector<std::string> missing;
    std::vector<Call> calls;
    std::string run(const std::string& program, const std::vector<std::string>& arguments,
                    const std::filesystem::path& = {}, int* exit_status = nullptr) override {
        calls.push_back({program, arguments});
        if (std::ranges::find(missing, program) != missing.end())
            throw sys::Exception("NSInvalidArgumentException", "launch path not accessible");
        if (exit_status) *exit_status = 0;
        return outputs.contains(program) ? outputs.at(program) : "";
    }
};

// Live sources from plain data; every member can be set by a test.
class FakeLiveSystem : public platform::LiveSystem {
public:
    std::vector<platform::ProcessRecord> processes;
    std::vector<int> table_results;  // consumed one per filling query; 0 when exhausted
    std::map<std::int32_t, std::vector<std::uint8_t>> argument_areas;  // missing pid -> -1
    std::map<std::int64_t, std::string> terminals;
    std::map<std::uint32_t, platform::PasswordEntry> users;
    std::string profile;
    platform::Command lsof{"/usr/sbin/lsof", {"-F", "cnt", "+c0"}};
    int query_process_table(std::vector<platform::ProcessRecord>* records,
                            std::size_t* size) override {
        const int result = records && !table_results.empty() ? table_results.front() : 0;
        if (records && !table_results.empty()) table_results.erase(table_results.begin());
        if (records && result == 0) *records = processes;
        if (result == 0) *size = processes.size() * platform::kKernelProcessRecordSize;
        return result;
    }
    int query_argument_max(int* out) override {
        *out = 1 << 18;
        return 0;
    }
    int query_argument_area(std::int32_t pid, std::vector<std::uint8_t>& buffer,
                            std::size_t* size) override {
        if (!argument_areas.contains(pid)) return -1;
        const std::vector<std::uint8_t>& area = argument_areas.at(pid);
        *size = std::min(area.size(), *size);
        buffer.resize(std::max(buffer.size(), *size));
        std::copy_n(area.begin(), *size, buffer.begin());
        return 0;
    }
    std::optional<std::string> terminal_name(std::int64_t device) override {
        return terminals.contains(device) ? std::optional(terminals.at(device)) : std::nullopt;
    }
    std::optional<platform::PasswordEntry> user_by_uid(std::uint32_t uid) override {
        return users.contains(uid) ? std::optional(users.at(uid)) : std::nullopt;
    }
    std::string system_profile(const std::vector<std::string>&) override { return profile; }
    platform::Command lsof_command() override { return lsof; }
};

// A machine over root with the given fakes (either may be null: no live sources / a real runner).
inline sys::Machine fake_machine(const std::filesystem::path& root,
                                 std::shared_ptr<FakeLiveSystem> live = nullptr,
                                 std::shared_ptr<sys::ProgramRunner> programs = nullptr) {
    if (!programs) programs = std::make_shared<sys::ProgramRunner>();
    return sys::Machine(sys::FileSystem(root), std::move(live), std::move(programs));
}

// A KERN_PROCARGS2 buffer: argument count, executable path, padding NULs, arguments, environment.
inline std::vector<std::uint8_t> argument_area(std::int32_t argc, const std::string& exec_path,
                                               const std::vector<std::string>& strings,
                                               int padding = 3) {
    std::string area(reinterpret_cast<const char*>(&argc), sizeof argc);
    area += exec_path + std::string(static_cast<std::size_t>(padding) + 1, '\0');
    for (const std::string& s : strings) area += s + '\0';
    return {area.begin(), area.end()};
}

}  // namespace test
