#pragma once
// The store's delayed work (the debounced save) on Qt's event loop.

#include "platform/Scheduler.h"

#include <QObject>

#include <map>

class QTimer;

namespace corvale::app {

class QtScheduler final : public Scheduler {
public:
    TaskId schedule(std::chrono::milliseconds delay, std::function<void()> task) override;
    void cancel(TaskId task) override;
    std::size_t pendingCount() const { return m_timers.size(); }

private:
    QObject m_owner;  // parent of the timers, so none outlives the scheduler
    std::map<TaskId, QTimer*> m_timers;
    TaskId m_lastId = 0;
};

}  // namespace corvale::app
