#include "libs/sys/MainQueue.h"

namespace sys {

void MainLoop::run_sync(std::function<void()> task) {
    // Already on the main thread: waiting for ourselves would never end.
    if (std::this_thread::get_id() == main_thread_) {
        task();
        return;
    }
    Pending pending{std::move(task)};
    std::unique_lock lock(mutex_);
    tasks_.push_back(&pending);
    changed_.notify_all();
    changed_.wait(lock, [&] { return pending.done; });
}

void MainLoop::run() {
    std::unique_lock lock(mutex_);
    while (!stopped_) {
        changed_.wait(lock, [&] { return stopped_ || !tasks_.empty(); });
        while (!tasks_.empty()) {
            Pending* pending = tasks_.front();
            tasks_.pop_front();
            lock.unlock();
            pending->task();
            lock.lock();
            pending->done = true;
            changed_.notify_all();
        }
    }
}

void MainLoop::stop() {
    std::lock_guard lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
}

}  // namespace sys
