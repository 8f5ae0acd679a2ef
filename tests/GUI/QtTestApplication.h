// The test process's one QApplication, on Qt's offscreen platform, made on first use.
#pragma once

#include <QApplication>

namespace test {

inline QApplication& qt_application() {
    // Never destroyed: tearing Qt down among the static destructors after main is not safe.
    static QApplication* application = [] {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        static int argc = 1;
        static char name[] = "tvtriage_tests", *argv[] = {name, nullptr};
        return new QApplication(argc, argv);
    }();
    return *application;
}

}  // namespace test
