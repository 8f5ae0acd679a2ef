// The `tvtriage-gui` entry: the window and the application loop. Nothing runs until Start.
#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>
#include <filesystem>

#include "GUI/AppDelegate.h"
#include "GUI/LocalRun.h"
#include "GUI/QtMainQueue.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    // Only --root is ours; anything else the system passes to an application is not an error.
    QCommandLineParser parser;
    const QCommandLineOption root_option(QStringLiteral("root"),
                                         QStringLiteral("Examine the file tree under DIR"),
                                         QStringLiteral("DIR"), QStringLiteral("/"));
    parser.addOption(root_option);
    parser.parse(QCoreApplication::arguments());
    std::error_code error;
    const std::filesystem::path root =
        std::filesystem::absolute(parser.value(root_option).toStdString(), error);
    if (error || !std::filesystem::is_directory(root, error)) {
        qCritical("tvtriage-gui: --root %s is not a folder", qPrintable(parser.value(root_option)));
        return 2;
    }

    LocalRun run(root.lexically_normal());
    QtMainQueue main_queue;
    AppDelegate delegate([&run](std::string* problem) { return run.prepare(problem); }, main_queue);
    QTimer::singleShot(0, &delegate, &AppDelegate::applicationDidFinishLaunching);
    return app.exec();
}
