#include "platform/ThreadId.h"

#include <pthread.h>

namespace platform {

std::uint64_t current_thread_id() {
    // The system-wide id that Console and the unified log show, not the pthread_t address.
    std::uint64_t id = 0;
    ::pthread_threadid_np(nullptr, &id);
    return id;
}

}  // namespace platform
