// Reading the kernel process table with the attempt rules of a sysctl caller.
#include <new>

#include "libs/sys/Log.h"
#include "modules/Processes/Processes.h"
#include "platform/KernelProcessRecord.h"

namespace modules {
namespace {

constexpr int kMaxAttempts = 1000;

std::optional<std::vector<platform::ProcessRecord>> give_up(int attempts) {
    // Only the attempt numbered 999 says so: the rule is kept as it always was, although in
    // practice the table answers 0 or -1 at the first attempt.
    if (attempts == kMaxAttempts - 1) sys::log_line("sysctl didn't work - after 999 attempts!!");
    return std::nullopt;
}

}  // namespace

std::optional<std::vector<platform::ProcessRecord>> Processes::getAllProcesses(
    std::uint64_t* count) {
    *count = 0;
    platform::LiveSystem* live = machine_.live();
    if (!live) {
        sys::logf("{} is not the running system: the process table is not read.",
                  machine_.files().root().string());
        return std::nullopt;
    }

    // The log call ends every line itself, so the failure texts carry no newline of their own.
    for (int attempts = 0; attempts < kMaxAttempts;) {
        std::size_t size = 0;
        if (live->query_process_table(nullptr, &size) == -1) {
            sys::log_line("sysctl 1 failed!!");
            return give_up(attempts);
        }
        std::vector<platform::ProcessRecord> records;
        try {
            // The size estimate counts bytes of kernel records.
            records.reserve(size / platform::kKernelProcessRecordSize);
        } catch (const std::bad_alloc&) {
            sys::log_line("malloc 1 failed!!");
            return give_up(attempts);
        }
        // The return value itself is tested, not errno: 12 (ENOMEM) and any other unexpected
        // value lead to another attempt, only -1 gives up.
        const int result = live->query_process_table(&records, &size);
        if (result == 0) {
            *count = records.size();
            return records;
        }
        if (result == -1) {
            sys::log_line("sysctl 2 failed!!");
            return give_up(attempts);
        }
        ++attempts;
        sleep_(std::chrono::seconds(1));
    }
    return std::nullopt;  // the thousandth retry stops without a word
}

}  // namespace modules
