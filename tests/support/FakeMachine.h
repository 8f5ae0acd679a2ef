// Fakes of the examined machine's live sources and program runner, and a Machine over a fixture
// tree built from them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "libs/sys/Machine.h"
#include "platform/LiveSystem.h"

namespace test {

// Records every program run and answers with canned output and status per program path; a
// program named in missing cannot be started (throws as the real runner does).
class FakeProgramRunner : public sys::ProgramRunner {
public:
    struct Call {
        std::string program;
        std::vector<std::string> arguments;
        std::filesystem::path working_directory;
    };

    std::map<std::string, std::string> outputs;  // program -> standard output
    std::map<std::string, int> statuses;         // program -> exit status (else 0)
    std::vector<std::string> missing;
    std::vector<Call> calls;

    std::string run(const std::string& program, const std::vector<std::string>& arguments,
                    const std::filesystem::path& working_directory = {},
                    int* exit_status = nullptr) override;
};

// Live sources from plain data; every member can be set by a test.
class FakeLiveSystem : public platform::LiveSystem {
public:
    std::vector<platform::ProcessRecord> processes;
    std::vector<int> table_results;  // consumed one per filling query; 0 when exhausted
    int argument_max = 1 << 18;
    std::map<std::int32_t, std::vector<std::uint8_t>> argument_areas;  // missing pid -> -1
    std::map<std::int64_t, std::string> terminals;
    std::map<std::uint32_t, platform::PasswordEntry> users;
    std::string profile;
    std::vector<std::vector<std::string>> profile_requests;
    platform::Command lsof{"/usr/sbin/lsof", {"-F", "cnt", "+c0"}};

    int query_process_table(std::vector<platform::ProcessRecord>* records,
                            std::size_t* size) override;
    int query_argument_max(int* out) override;
    int query_argument_area(std::int32_t pid, std::vector<std::uint8_t>& buffer,
                            std::size_t* size) override;
    std::optional<std::string> terminal_name(std::int64_t device) override;
    std::optional<platform::PasswordEntry> user_by_uid(std::uint32_t uid) override;
    std::string system_profile(const std::vector<std::string>& arguments) override;
    platform::Command lsof_command() override { return lsof; }
};

// A machine over root with the given fakes (either may be null: no live sources / a real runner).
sys::Machine fake_machine(const std::filesystem::path& root,
                          std::shared_ptr<FakeLiveSystem> live = nullptr,
                          std::shared_ptr<sys::ProgramRunner> programs = nullptr);

// A KERN_PROCARGS2 buffer: argument count, executable path, padding NULs, arguments, environment.
std::vector<std::uint8_t> argument_area(std::int32_t argc, const std::string& exec_path,
                                        const std::vector<std::string>& strings, int padding = 3);

}  // namespace test
