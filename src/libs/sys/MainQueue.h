// The main thread's queue. The collection job hands every progress callback to it synchronously
// and waits until the callback has run, so the user always sees the step the job is on.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace sys {

class MainQueue {
public:
    virtual ~MainQueue() = default;
    // Runs the task on the main thread and returns when it has run.
    virtual void run_sync(std::function<void()> task) = 0;
};

// A main loop for programs without a window toolkit: run() serves tasks on the calling thread
// until stop() is called (typically by the last task).
class MainLoop : public MainQueue {
public:
    MainLoop() : main_thread_(std::this_thread::get_id()) {}

    void run_sync(std::function<void()> task) override;
    void run();
    void stop();

private:
    struct Pending {
        std::function<void()> task;
        bool done = false;
    };

    std::thread::id main_thread_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Pending*> tasks_;
    bool stopped_ = false;
};

}  // namespace sys
