// The driver's main queue in a Qt program: the application's thread, served by its event loop.
#pragma once

#include <functional>

#include "libs/sys/MainQueue.h"

class QtMainQueue : public sys::MainQueue {
public:
    // From any other thread the task is posted to the application's event loop and the caller
    // blocks until it has run; on the application's thread it runs at once. A QApplication (or
    // QCoreApplication) must exist, and its loop must be running for posted tasks to run.
    void run_sync(std::function<void()> task) override;
};
