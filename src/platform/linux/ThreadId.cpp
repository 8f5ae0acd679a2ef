#include "platform/ThreadId.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace platform {

std::uint64_t current_thread_id() {
    // The kernel's task id, as ps -L and /proc/PID/task show it; glibc before 2.30 has no gettid.
    return static_cast<std::uint64_t>(::syscall(SYS_gettid));
}

}  // namespace platform
