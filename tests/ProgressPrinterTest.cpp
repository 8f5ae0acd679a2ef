#include "ProgressPrinter.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "libs/sys/FdIo.h"
#include "libs/sys/UniqueFd.h"

namespace {

std::string drive(ProgressPrinter::Style style) {
    int fds[2];
    EXPECT_EQ(::pipe(fds), 0);
    sys::UniqueFd in(fds[0]);
    ProgressPrinter printer(fds[1], style);
    Callbacks callbacks = printer.callbacks();
    callbacks.set_maximum(4);
    callbacks.status("Processes");
    callbacks.increment(1);
    callbacks.status("Done");
    callbacks.done();
    EXPECT_TRUE(printer.finished());
    ::close(fds[1]);
    return sys::read_all(in.get()).value_or("read failed");
}

TEST(ProgressPrinter, EachStyleWritesWhatItShould) {
    EXPECT_EQ(ProgressPrinter::bar_text(3, 4, "Zipping", 8), "[######--] 3/4 Zipping");
    EXPECT_EQ(ProgressPrinter::bar_text(5, 4, "", 4), "[####] 5/4 ");
    EXPECT_EQ(ProgressPrinter::bar_text(1, 0, "", 4), "[----] 1/0 ");

    EXPECT_EQ(drive(ProgressPrinter::Style::Lines), "[0/4] Processes\n[1/4] Done\n");
    EXPECT_EQ(drive(ProgressPrinter::Style::Quiet), "");
    // Redrawn in place, each time clearing the tail a longer status left behind.
    auto bar = [](int value, const char* status) {
        return "\r" + ProgressPrinter::bar_text(value, 4, status) + "\x1b[K";
    };
    EXPECT_EQ(drive(ProgressPrinter::Style::Bar),
              bar(0, "Processes") + bar(1, "Processes") + bar(1, "Done") + "\n");
}

}  // namespace
