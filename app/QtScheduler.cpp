#include "app/QtScheduler.h"

#include <QTimer>

namespace corvale::app {

Scheduler::TaskId QtScheduler::schedule(std::chrono::milliseconds delay, std::function<void()> task) {
    const TaskId id = ++m_lastId;
    auto* timer = new QTimer(&m_owner);
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, &m_owner, [this, id, task = std::move(task)] {
        // Forget the task before running it, so the task may schedule again.
        if (auto node = m_timers.extract(id)) node.mapped()->deleteLater();
        task();
    });
    m_timers.emplace(id, timer);
    timer->start(delay);
    return id;
}

void QtScheduler::cancel(TaskId task) {
    const auto found = m_timers.find(task);
    if (found == m_timers.end()) return;
    found->second->stop();
    found->second->deleteLater();
    m_timers.erase(found);
}

}  // namespace corvale::app
