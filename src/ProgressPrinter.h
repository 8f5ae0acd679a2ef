// The command's face of the driver's callbacks: a bar with the status text redrawn in place on a
// terminal, one plain line per step elsewhere, nothing when quiet. It writes to its own
// descriptor, because standard error belongs to the log once the run has started.
#pragma once

#include <string>

#include "tvtriage.h"

class ProgressPrinter {
public:
    enum class Style { Bar, Lines, Quiet };

    ProgressPrinter(int fd, Style style) : fd_(fd), style_(style) {}

    Callbacks callbacks();
    bool finished() const { return finished_; }

    // The text the bar shows for a state (also used by the tests).
    static std::string bar_text(int value, int maximum, const std::string& status, int width = 30);

private:
    void show();
    void write(const std::string& text) const;

    int fd_;
    Style style_;
    int value_ = 0;
    int maximum_ = 0;
    std::string status_;
    bool finished_ = false;
};
