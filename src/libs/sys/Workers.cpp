#include "libs/sys/Workers.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace sys {

void for_each_item(std::size_t count, unsigned max_threads,
                   const std::function<void(std::size_t)>& work) {
    std::atomic<std::size_t> next{0};
    std::mutex failure_mutex;
    std::exception_ptr failure;
    auto worker = [&] {
        try {
            for (std::size_t i; (i = next.fetch_add(1)) < count;) work(i);
        } catch (...) {
            // Escaping a helper thread would end the process; the caller's guard gets it instead.
            next = count;
            const std::lock_guard lock(failure_mutex);
            if (!failure) failure = std::current_exception();
        }
    };
    const std::size_t wanted = std::min<std::size_t>(
        {std::max(1u, std::thread::hardware_concurrency()), std::max(1u, max_threads), count});
    std::vector<std::jthread> helpers;
    for (std::size_t t = 1; t < wanted; ++t) {
        try {
            helpers.emplace_back(worker);
        } catch (const std::system_error&) {
            break;
        }
    }
    worker();
    // Joined here, before the caller reads what the calls left behind.
    helpers.clear();
    if (failure) std::rethrow_exception(failure);
}

}  // namespace sys
