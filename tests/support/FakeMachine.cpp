#include "support/FakeMachine.h"

#include <algorithm>
#include <cstring>

#include "libs/sys/Exception.h"
#include "platform/KernelProcessRecord.h"

namespace test {

std::string FakeProgramRunner::run(const std::string& program,
                                   const std::vector<std::string>& arguments,
                                   const std::filesystem::path& working_directory,
                                   int* exit_status) {
    calls.push_back({program, arguments, working_directory});
    if (std::find(missing.begin(), missing.end(), program) != missing.end()) {
        throw sys::Exception("NSInvalidArgumentException", "launch path not accessible");
    }
    if (exit_status) *exit_status = statuses.contains(program) ? statuses.at(program) : 0;
    auto it = outputs.find(program);
    return it == outputs.end() ? std::string() : it->second;
}

int FakeLiveSystem::query_process_table(std::vector<platform::ProcessRecord>* records,
                                        std::size_t* size) {
    if (!records) {
        *size = processes.size() * platform::kKernelProcessRecordSize;
        return 0;
    }
    int result = 0;
    if (!table_results.empty()) {
        result = table_results.front();
        table_results.erase(table_results.begin());
    }
    if (result == 0) {
        *records = processes;
        *size = processes.size() * platform::kKernelProcessRecordSize;
    }
    return result;
}

int FakeLiveSystem::query_argument_max(int* out) {
    *out = argument_max;
    return argument_max > 0 ? 0 : -1;
}

int FakeLiveSystem::query_argument_area(std::int32_t pid, std::vector<std::uint8_t>& buffer,
                                        std::size_t* size) {
    auto it = argument_areas.find(pid);
    if (it == argument_areas.end()) return -1;
    size_t n = std::min(it->second.size(), *size);
    if (buffer.size() < n) buffer.resize(n);
    if (n > 0) std::memcpy(buffer.data(), it->second.data(), n);
    *size = n;
    return 0;
}

std::optional<std::string> FakeLiveSystem::terminal_name(std::int64_t device) {
    auto it = terminals.find(device);
    if (it == terminals.end()) return std::nullopt;
    return it->second;
}

std::optional<platform::PasswordEntry> FakeLiveSystem::user_by_uid(std::uint32_t uid) {
    auto it = users.find(uid);
    if (it == users.end()) return std::nullopt;
    return it->second;
}

std::string FakeLiveSystem::system_profile(const std::vector<std::string>& arguments) {
    profile_requests.push_back(arguments);
    return profile;
}

sys::Machine fake_machine(const std::filesystem::path& root, std::shared_ptr<FakeLiveSystem> live,
                          std::shared_ptr<sys::ProgramRunner> programs) {
    if (!programs) programs = std::make_shared<sys::ProgramRunner>();
    return sys::Machine(sys::FileSystem(root), std::move(live), std::move(programs));
}

std::vector<std::uint8_t> argument_area(std::int32_t argc, const std::string& exec_path,
                                        const std::vector<std::string>& strings, int padding) {
    std::vector<std::uint8_t> area(sizeof argc);
    std::memcpy(area.data(), &argc, sizeof argc);
    area.insert(area.end(), exec_path.begin(), exec_path.end());
    area.push_back(0);
    area.insert(area.end(), static_cast<size_t>(padding), 0);
    for (const auto& s : strings) {
        area.insert(area.end(), s.begin(), s.end());
        area.push_back(0);
    }
    return area;
}

}  // namespace test
