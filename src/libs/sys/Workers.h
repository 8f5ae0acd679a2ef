// A few threads sharing one list of independent items, for the steps that read or copy many
// files: each thread claims the next item until none is left.
#pragma once

#include <cstddef>
#include <functional>

namespace sys {

// Calls work(i) once for every i below count, on up to max_threads threads at once (the calling
// thread is one of them), and returns when every call has returned. A thread that cannot be
// started is done without: fewer threads only means slower. When a call throws, the items not yet
// claimed are left undone and the first exception is rethrown here, once every thread has stopped.
void for_each_item(std::size_t count, unsigned max_threads,
                   const std::function<void(std::size_t)>& work);

}  // namespace sys
