#include "GUI/AppDelegate.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QEvent>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QUrl>
#include <QVBoxLayout>
#include <QWidget>
#include <algorithm>
#include <cstdlib>

AppDelegate::AppDelegate(RunPreparer prepare, sys::MainQueue& main_queue, FolderOpener open_folder)
    : prepare_(std::move(prepare)), main_queue_(main_queue), open_folder_(std::move(open_folder)) {
    build_window();
}

AppDelegate::~AppDelegate() {
    if (worker_.joinable()) worker_.join();
    delete window.data();
}

void AppDelegate::build_window() {
    window = new QWidget;
    window->setWindowTitle(QStringLiteral("tvtriage %1").arg(tvtriage::kVersion));

    auto* explanation = new QLabel(QStringLiteral(
        "Start collects a triage picture of this computer into tvtriage_results.zip on your "
        "Desktop."));
    explanation->setWordWrap(true);

    // The platform's defaults for a determinate indicator: from 0 to 100, at 0.
    progressBar = new QProgressBar;
    progressBar->setRange(0, 100);
    progressBar->setValue(0);
    progressBar->setTextVisible(false);

    textField = new QLabel;
    textField->setMinimumHeight(textField->fontMetrics().height());
    textField->setTextInteractionFlags(Qt::TextSelectableByMouse);

    exitButton = new QPushButton(QStringLiteral("Exit"));
    startButton = new QPushButton(QStringLiteral("Start"));
    startButton->setDefault(true);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(exitButton);
    buttons->addWidget(startButton);
    auto* layout = new QVBoxLayout(window);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->addWidget(explanation);
    layout->addSpacing(8);
    layout->addWidget(progressBar);
    layout->addWidget(textField);
    layout->addSpacing(8);
    layout->addLayout(buttons);
    window->setFixedWidth(440);
    window->setFixedHeight(window->sizeHint().height());

    connect(startButton, &QPushButton::clicked, this, &AppDelegate::startAction);
    connect(exitButton, &QPushButton::clicked, this, &AppDelegate::exitAction);
    // Return and Enter press the default button wherever the focus is, as in a dialog; a disabled
    // button ignores the click.
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* shortcut = new QShortcut(QKeySequence(key), window);
        connect(shortcut, &QShortcut::activated, startButton, &QPushButton::click);
    }
    window->installEventFilter(this);
}

void AppDelegate::applicationDidFinishLaunching() {
    window->show();
    window->raise();
    window->activateWindow();
}

void AppDelegate::startAction() {
    if (worker_.joinable()) return;
    startButton->setEnabled(false);
    std::string problem;
    settings_ = prepare_(&problem);
    if (!settings_) {
        setModuleName(textField, QString::fromStdString("Cannot start: " + problem));
        startButton->setEnabled(true);
        return;
    }
    Callbacks callbacks{
        [this](int amount) { progressBarIncrement(progressBar, amount); },
        [this](const std::string& text) { setModuleName(textField, QString::fromStdString(text)); },
        [this](int maximum) { setProgressBarMax(maximum); },
        [this] { isDone(); },
    };
    worker_ = tvtriage::start(*settings_, std::move(callbacks), main_queue_);
}

void AppDelegate::exitAction() {
    // No clean shutdown: the worker may be anywhere in a module, and whatever it has written
    // stays in the run folder.
    std::_Exit(0);
}

void AppDelegate::progressBarIncrement(QProgressBar*, int amount) {
    progressBar->setValue(std::min(progressBar->value() + amount, progressBar->maximum()));
}

void AppDelegate::setModuleName(QLabel* field, const QString& text) {
    field->setText(text);
}

void AppDelegate::setProgressBarMax(int maximum) {
    progressBar->setMaximum(maximum);
}

void AppDelegate::isDone() {
    finished_ = true;
    QMessageBox alert(QMessageBox::Warning, window->windowTitle(),
                      QStringLiteral("Program run has finished."), QMessageBox::Ok, window);
    alert.setInformativeText(QStringLiteral("Logs saved on Desktop: tvtriage_results.zip"));
    alert.setDefaultButton(QMessageBox::Ok);
    if (alert.exec() == QMessageBox::Ok) openFinder();
}

void AppDelegate::openFinder() {
    open_folder_(QDir(qEnvironmentVariable("HOME")).filePath(QStringLiteral("Desktop")));
}

void AppDelegate::open_in_file_manager(const QString& folder) {
    // A folder's URL opens in Finder on macOS and in the file manager elsewhere.
    QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
}

bool AppDelegate::eventFilter(QObject* watched, QEvent* event) {
    // The worker waits on this thread for every callback, and nothing would serve it once the
    // window has gone: closing the window mid-run is Exit.
    if (watched == window && event->type() == QEvent::Close && worker_.joinable() && !finished_) {
        exitAction();
    }
    return QObject::eventFilter(watched, event);
}
