#include "ProgressPrinter.h"

#include <algorithm>

#include <fmt/format.h>

#include "libs/sys/FdIo.h"

std::string ProgressPrinter::bar_text(int value, int maximum, const std::string& status,
                                      int width) {
    int filled = maximum > 0 ? std::clamp(value * width / maximum, 0, width) : 0;
    return fmt::format("[{}{}] {}/{} {}", std::string(static_cast<size_t>(filled), '#'),
                       std::string(static_cast<size_t>(width - filled), '-'), value, maximum,
                       status);
}

Callbacks ProgressPrinter::callbacks() {
    return Callbacks{
        [this](int amount) {
            value_ += amount;
            if (style_ == Style::Bar) show();
        },
        [this](const std::string& text) {
            status_ = text;
            show();
        },
        [this](int maximum) { maximum_ = maximum; },
        [this] {
            finished_ = true;
            if (style_ == Style::Bar) write("\n");
        },
    };
}

void ProgressPrinter::show() {
    switch (style_) {
        case Style::Bar:
            // Clear to the end of the line: a shorter status must not leave the old one's tail.
            write(fmt::format("\r{}\x1b[K", bar_text(value_, maximum_, status_)));
            break;
        case Style::Lines:
            write(fmt::format("[{}/{}] {}\n", value_, maximum_, status_));
            break;
        case Style::Quiet:
            break;
    }
}

void ProgressPrinter::write(const std::string& text) const {
    sys::write_all(fd_, text);
}
