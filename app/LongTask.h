#pragma once
// Work too slow for the interface thread (backup, restore, opening a large
// vault) runs on a worker while a busy indicator shows and the window keeps
// painting. The caller gets the result as if it had run the work itself.
//
// The store is not thread-safe: the caller flushes any pending save first,
// and nothing else touches the store until the work returns (the indicator
// is modal, and a lock asked for meanwhile waits, through `whenIdle`, until
// the work is done).

#include <QEventLoop>
#include <QFutureWatcher>
#include <QPointer>
#include <QProgressDialog>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <functional>
#include <utility>
#include <vector>

namespace corvale::app {

class LongTask {
public:
    static bool isBusy() { return s_running > 0; }

    // Runs `then` on the interface thread once no work runs, after the
    // caller of the last one has had its result; at once when none runs.
    // Dropped if `context` is gone by then.
    static void whenIdle(QObject* context, std::function<void()> then) {
        if (!isBusy()) {
            then();
            return;
        }
        s_waiting.push_back({QPointer<QObject>(context), std::move(then)});
    }

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
        if (--s_running == 0) {
            for (auto& waiting : std::exchange(s_waiting, {}))
                if (waiting.context) QTimer::singleShot(0, waiting.context, std::move(waiting.then));
        }
        return watcher.future().takeResult();
    }

private:
    struct Waiting {
        QPointer<QObject> context;
        std::function<void()> then;
    };
    static inline int s_running = 0;
    static inline std::vector<Waiting> s_waiting;
};

}  // namespace corvale::app
