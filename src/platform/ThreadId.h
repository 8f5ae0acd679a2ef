// The calling thread's id as the system's own tools show it (the number in log lines).
#pragma once

#include <cstdint>

namespace platform {

// Unique among the threads alive in the system; never fails.
std::uint64_t current_thread_id();

}  // namespace platform
