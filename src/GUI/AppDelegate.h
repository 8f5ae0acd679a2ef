// The application delegate: owns the main window and its controls, starts the collection driver
// when Start is pressed, turns the driver's four callbacks into updates of the controls and shows
// the closing alert. It holds no collection logic.
//
// Idle (Start enabled) -> running (Start disabled, the bar advancing) -> finished (the alert, then
// the Desktop folder is opened; Start stays disabled). A new run needs a new launch.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <functional>
#include <optional>
#include <string>
#include <thread>

#include "libs/sys/MainQueue.h"
#include "tvtriage.h"

class QLabel;
class QProgressBar;
class QPushButton;
class QWidget;

class AppDelegate : public QObject {
public:
    // Makes the settings of the run when Start is pressed; what they point at must outlive the
    // delegate. Empty, with the reason in *problem, when no run can be made.
    using RunPreparer = std::function<std::optional<RunSettings>(std::string* problem)>;
    // Shows a folder to the user.
    using FolderOpener = std::function<void(const QString& folder)>;

    // Builds the window (not shown yet). main_queue must serve the thread this is made on, which
    // must be the application's, and outlive the delegate.
    AppDelegate(RunPreparer prepare, sys::MainQueue& main_queue,
                FolderOpener open_folder = open_in_file_manager);
    // Waits for the run's worker, which ends once the closing alert has been dismissed.
    ~AppDelegate() override;

    // The outlets. The delegate owns the window, the window its controls.
    QPointer<QWidget> window;
    QPointer<QPushButton> startButton;
    QPointer<QPushButton> exitButton;
    QPointer<QProgressBar> progressBar;
    QPointer<QLabel> textField;

    // Shows the window in front, even when the application is not the active one.
    void applicationDidFinishLaunching();
    // Disables Start, then starts the driver with the four callbacks. When no run can be made the
    // status line says why and Start is enabled again.
    void startAction();
    // Ends the process at once, whatever the run is doing; the run folder keeps what it has.
    [[noreturn]] void exitAction();

    // Advances the outlet's bar (whatever bar is passed), never past its maximum.
    void progressBarIncrement(QProgressBar* bar, int amount);
    // Shows the text in the field given.
    void setModuleName(QLabel* field, const QString& text);
    void setProgressBarMax(int maximum);
    // The modal "Program run has finished." alert with one default button, OK; OK opens the
    // Desktop folder.
    void isDone();
    // Opens $HOME/Desktop through the folder opener.
    void openFinder();

    // Finder on macOS, the desktop's file manager elsewhere.
    static void open_in_file_manager(const QString& folder);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void build_window();

    RunPreparer prepare_;
    sys::MainQueue& main_queue_;
    FolderOpener open_folder_;
    std::optional<RunSettings> settings_;  // the running driver keeps a reference
    std::thread worker_;
    bool finished_ = false;
};
