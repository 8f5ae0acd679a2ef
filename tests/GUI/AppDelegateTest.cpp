// The window driven as a user drives it: the real AppDelegate and the real driver over scripted
// modules, on Qt's offscreen platform.
#include <gtest/gtest.h>

#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <filesystem>
#include <thread>

#include "GUI/AppDelegate.h"
#include "GUI/QtMainQueue.h"
#include "GUI/QtTestApplication.h"
#include "libs/Disk/Disk.h"
#include "support/CapturedLog.h"
#include "support/FakeMachine.h"
#include "support/ScratchOutput.h"

namespace {

namespace fs = std::filesystem;
using plist::Dictionary;

constexpr int kPatience = 60000;  // ms; only a hang guard

plist::Value enabled(int flag) {
    return Dictionary{{"Enabled", plist::Value(flag)}};
}

// Leaves an empty "<name>.log" in its folder, then runs the test's body.
struct ScriptedModule : modules::Module {
    ScriptedModule(std::string name, std::function<void()> body) : name(name), body(body) {}
    modules::ModuleReport start(const sys::OutputPath& folder) override {
        Disk::create_empty_files(folder, {name + ".log"});
        body();
        return {};
    }
    std::string name;
    std::function<void()> body;
};

// The window's main queue, noting what the window shows right after each callback has run.
struct WatchedQueue : sys::MainQueue {
    void run_sync(std::function<void()> task) override {
        queue.run_sync([&] {
            task();
            after_each();
        });
    }
    QtMainQueue queue;
    std::function<void()> after_each;
};

class AppDelegateTest : public ::testing::Test {
protected:
    AppDelegateTest() {
        qputenv("HOME", QByteArray(scratch.dir().path().c_str()));
        watched.after_each = [this] {
            shown.push_back(bar_state());
            off_the_main_thread += QThread::currentThread() != app.thread();
        };
        auto prepare = [this](std::string*) {
            start_enabled_when_prepared.push_back(delegate->startButton->isEnabled());
            return std::optional(
                RunSettings{config, std::nullopt, &scratch.output(), &machine, &registry});
        };
        delegate = std::make_unique<AppDelegate>(
            prepare, watched, [this](const QString& folder) { opened.push_back(folder); });
    }
    ~AppDelegateTest() override { qputenv("HOME", home_before); }

    void add_module(const std::string& name, std::function<void()> body) {
        registry.add(name, [=](const sys::Machine&) {
            return std::make_unique<ScriptedModule>(name, body);
        });
    }
    QString bar_state() const {
        return QStringLiteral("%1 %2/%3")
            .arg(delegate->textField->text())
            .arg(delegate->progressBar->value())
            .arg(delegate->progressBar->maximum());
    }
    // Notes the closing alert and the bar as soon as the alert shows, then presses Return in it.
    void answer_the_alert() {
        auto* poll = new QTimer(delegate.get());
        QObject::connect(poll, &QTimer::timeout, [this, poll] {
            auto* alert = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!alert) return;
            poll->stop();
            const bool ok_is_default = alert->defaultButton() == alert->button(QMessageBox::Ok);
            alert_seen = {alert->text(), alert->informativeText(),
                          QString::number(alert->buttons().size()) + (ok_is_default ? " OK" : ""),
                          bar_state()};
            QTest::keyClick(alert, Qt::Key_Return);
        });
        poll->start(10);
    }

    test::CapturedLog log;  // the driver points the log at the run folder
    QApplication& app = test::qt_application();
    QByteArray home_before = qgetenv("HOME");
    test::TempDir root;
    test::ScratchOutput scratch;
    sys::Machine machine = test::fake_machine(root.path());
    modules::Registry registry;
    plist::Value config =
        Dictionary{{"Alpha", enabled(1)}, {"Beta", enabled(1)}, {"Off", enabled(0)}};
    WatchedQueue watched;
    std::vector<bool> start_enabled_when_prepared;
    QStringList shown, alert_seen, opened;
    int off_the_main_thread = 0;
    std::unique_ptr<AppDelegate> delegate;  // last: joins the worker before the rest goes
};

TEST_F(AppDelegateTest, ReturnStartsOneRunThatShowsEveryStepAndEndsInTheAlert) {
    add_module("Alpha", [] {});
    add_module("Beta", [] {});
    delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(QTest::qWaitForWindowActive(delegate->window));
    answer_the_alert();
    QTest::keyClick(delegate->window, Qt::Key_Return);
    // The run is under way and Start is off: neither Return nor a click starts another.
    QTest::keyClick(delegate->window, Qt::Key_Return);
    QTest::mouseClick(delegate->startButton, Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !opened.isEmpty(); }, kPatience));

    EXPECT_EQ(start_enabled_when_prepared, std::vector<bool>{false}) << "disabled before the job";
    EXPECT_EQ(shown, (QStringList{" 0/5", "Alpha 0/5", "Alpha 1/5", "Beta 1/5", "Beta 2/5",
                                  "Copying samples 2/5", "Copying samples 3/5", "Zipping 3/5",
                                  "Zipping 4/5", "Clean up 4/5", "Clean up 5/5", "Done 5/5"}));
    EXPECT_EQ(off_the_main_thread, 0);
    EXPECT_EQ(alert_seen,
              (QStringList{"Program run has finished.",
                           "Logs saved on Desktop: tvtriage_results.zip", "1 OK", "Done 5/5"}))
        << "one default button, OK; the bar full";
    EXPECT_EQ(opened, QStringList{QString::fromStdString((scratch.dir() / "Desktop").string())});
    EXPECT_TRUE(fs::exists(scratch.output().archive()));
    EXPECT_FALSE(delegate->startButton->isEnabled()) << "a new run needs a new launch";
}

// In a forked child, so that this test binary survives: Exit, or closing the window, while a
// module is stuck ends the process with status 0, and the run folder keeps what was written.
TEST_F(AppDelegateTest, ExitOrClosingTheWindowMidRunEndsTheProcessAtOnce) {
    config = Dictionary{{"Stuck", enabled(1)}};
    add_module("Stuck", [] { std::this_thread::sleep_for(std::chrono::minutes(10)); });
    const fs::path stuck_log = scratch.output().run_folder() / "Stuck/Stuck.log";
    const std::pair<const char*, std::function<void()>> ways[] = {
        {"Exit", [&] { QTest::mouseClick(delegate->exitButton, Qt::LeftButton); }},
        {"closing the window", [&] { delegate->window->close(); }},
    };
    for (const auto& [way, end_it] : ways) {
        fs::remove(stuck_log);
        EXPECT_EXIT(
            {
                delegate->startAction();
                if (!QTest::qWaitFor([&] { return fs::exists(stuck_log); }, kPatience))
                    std::_Exit(2);
                end_it();
                std::_Exit(3);
            },
            ::testing::ExitedWithCode(0), "")
            << way;
        EXPECT_TRUE(fs::exists(stuck_log)) << way;
    }
    EXPECT_FALSE(fs::exists(scratch.output().archive()));
}

}  // namespace
