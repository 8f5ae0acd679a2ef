#include "GUI/QtMainQueue.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QThread>

void QtMainQueue::run_sync(std::function<void()> task) {
    QCoreApplication* application = QCoreApplication::instance();
    // Posting to our own loop and waiting for it would wait forever.
    if (QThread::currentThread() == application->thread()) {
        task();
        return;
    }
    QMetaObject::invokeMethod(application, std::move(task), Qt::BlockingQueuedConnection);
}
