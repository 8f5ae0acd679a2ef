// The process table from /proc.
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "libs/sys/FileSystem.h"
#include "platform/linux/HostText.h"
#include "platform/linux/LinuxLiveSystem.h"
#include "platform/linux/ProcStat.h"

namespace platform::linux_host {
namespace {

constexpr size_t kElfIdentBytes = 5;  // magic and class

std::string proc_file(std::int32_t pid, const char* name) {
    return "/proc/" + std::to_string(pid) + "/" + name;
}

// starttime counts on the boot-time clock, which goes on during suspend; the wall time of boot is
// therefore now minus that clock (btime of /proc/stat would only give whole seconds).
std::int64_t boot_wall_microseconds() {
    timespec real{};
    timespec since_boot{};
    ::clock_gettime(CLOCK_REALTIME, &real);
    ::clock_gettime(CLOCK_BOOTTIME, &since_boot);
    return (static_cast<std::int64_t>(real.tv_sec) - since_boot.tv_sec) * 1'000'000 +
           (real.tv_nsec - since_boot.tv_nsec) / 1000;
}

std::vector<std::int32_t> process_ids(const std::vector<std::string>& proc_entries) {
    std::vector<std::int32_t> pids;
    for (const std::string& name : proc_entries) {
        if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) continue;
        auto pid = parse_integer(name);
        if (pid && *pid > 0 && *pid <= INT32_MAX) pids.push_back(static_cast<std::int32_t>(*pid));
    }
    std::sort(pids.begin(), pids.end());
    return pids;
}

// Only the ELF identification is read. The executable of another user or of a kernel thread
// cannot be opened: no bytes at all, which is_elf_64_bit answers with the host's word size.
bool executable_is_64_bit(std::int32_t pid) {
    sys::UniqueFd executable = sys::FileSystem::host().open_regular(proc_file(pid, "exe"));
    if (!executable) return is_elf_64_bit({});
    char header[kElfIdentBytes] = {};
    ssize_t n = ::read(executable.get(), header, sizeof header);
    return is_elf_64_bit(std::string_view(header, n > 0 ? static_cast<size_t>(n) : 0));
}

std::optional<ProcessRecord> read_process(std::int32_t pid, std::int64_t boot_wall_microseconds,
                                          long ticks_per_second) {
    // Any of these reads fails when the process has ended since the listing: it is then left out.
    auto stat_text = read_host_text(proc_file(pid, "stat"));
    auto stat = stat_text ? parse_stat_line(*stat_text) : std::nullopt;
    if (!stat) return std::nullopt;
    auto status_text = read_host_text(proc_file(pid, "status"));
    if (!status_text) return std::nullopt;
    StatusFields status = parse_status(*status_text);
    if (!status.effective_uid) return std::nullopt;
    return make_process_record(
        *stat, status, executable_is_64_bit(pid),
        start_time(boot_wall_microseconds, stat->start_ticks, ticks_per_second));
}

}  // namespace

int LinuxLiveSystem::query_process_table(std::vector<ProcessRecord>* records, std::size_t* size) {
    auto entries = sys::FileSystem::host().list_directory("/proc");
    if (!entries) return -1;
    std::vector<std::int32_t> pids = process_ids(*entries);
    if (!records) {
        *size = pids.size() * kProcessRecordSize;
        return 0;
    }
    std::int64_t boot = boot_wall_microseconds();
    long ticks_per_second = ::sysconf(_SC_CLK_TCK);
    records->clear();
    records->reserve(pids.size());
    for (std::int32_t pid : pids) {
        if (auto record = read_process(pid, boot, ticks_per_second)) records->push_back(*record);
    }
    *size = records->size() * kProcessRecordSize;
    return 0;
}

}  // namespace platform::linux_host
