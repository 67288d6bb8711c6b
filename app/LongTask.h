#pragma once
// Work too slow for the interface thread (backup, restore, opening a large
// vault) runs on a worker while a busy indicator shows and the window keeps
// painting. The caller gets the result as if it had run the work itself.
//
// The store is not thread-safe: the caller flushes any pending save first,
// and nothing else touches the store until the work returns (the indicator
// is modal, and locking waits while `isBusy`).

#include <QEventLoop>
#include <QFutureWatcher>
#include <QProgressDialog>
#include <QtConcurrent/QtConcurrentRun>

#include <utility>

namespace corvale::app {

class LongTask {
public:
    static bool isBusy() { return s_running > 0; }

    template <class Work>
    static auto run(QWidget* parent, const QString& label, Work work) -> decltype(work()) {
        using Value = decltype(work());
        ++s_running;
        QProgressDialog progress(label, QString(), 0, 0, parent);
        progress.setWindowTitle(label);
        progress.setWindowModality(Qt::WindowModal);
        progress.setMinimumDuration(300);
        progress.setCancelButton(nullptr);
        progress.setAccessibleName(label);

        QFutureWatcher<Value> watcher;
        QEventLoop loop;
        QObject::connect(&watcher, &QFutureWatcher<Value>::finished, &loop, &QEventLoop::quit);
        watcher.setFuture(QtConcurrent::run(std::move(work)));
        if (!watcher.isFinished()) loop.exec(QEventLoop::ExcludeUserInputEvents);
        --s_running;
        return watcher.future().takeResult();
    }

private:
    static inline int s_running = 0;
};

}  // namespace corvale::app
