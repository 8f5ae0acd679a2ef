#include "ProgressPrinter.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

std::string drive(ProgressPrinter::Style style) {
    int fds[2];
    EXPECT_EQ(::pipe(fds), 0);
    {
        ProgressPrinter printer(fds[1], style);
        Callbacks callbacks = printer.callbacks();
        callbacks.set_maximum(4);
        callbacks.status("Processes");
        callbacks.increment(1);
        callbacks.status("Done");
        callbacks.done();
        EXPECT_TRUE(printer.finished());
    }
    ::close(fds[1]);
    std::string out;
    char buffer[4096];
    ssize_t n;
    while ((n = ::read(fds[0], buffer, sizeof buffer)) > 0)
        out.append(buffer, static_cast<size_t>(n));
    ::close(fds[0]);
    return out;
}

TEST(ProgressPrinter, BarFillsInProportion) {
    EXPECT_EQ(ProgressPrinter::bar_text(0, 4, "Net", 8), "[--------] 0/4 Net");
    EXPECT_EQ(ProgressPrinter::bar_text(2, 4, "Zipping", 8), "[####----] 2/4 Zipping");
    EXPECT_EQ(ProgressPrinter::bar_text(4, 4, "Done", 8), "[########] 4/4 Done");
    EXPECT_EQ(ProgressPrinter::bar_text(1, 0, "", 4), "[----] 1/0 ");
}

TEST(ProgressPrinter, EachStyleWritesWhatItShould) {
    EXPECT_EQ(drive(ProgressPrinter::Style::Lines), "[0/4] Processes\n[1/4] Done\n");
    EXPECT_EQ(drive(ProgressPrinter::Style::Quiet), "");
    std::string bar = drive(ProgressPrinter::Style::Bar);
    EXPECT_NE(bar.find("\r[" + std::string(7, '#')), std::string::npos);
    EXPECT_EQ(bar.back(), '\n');
}

}  // namespace
