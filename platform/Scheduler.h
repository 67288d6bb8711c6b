#pragma once
// Runs work later on the owner's thread. The app drives it from its event
// loop; tests and the command line drive a ManualScheduler, so no test sleeps.

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>

namespace corvale {

class Scheduler {
public:
    using TaskId = std::uint64_t;
    virtual ~Scheduler() = default;
    virtual TaskId schedule(std::chrono::milliseconds delay, std::function<void()> task) = 0;
    // Cancelling a task that already ran or was cancelled does nothing.
    virtual void cancel(TaskId task) = 0;
};

// Tasks run only when `advance` moves its own time past them. Not thread-safe.
class ManualScheduler final : public Scheduler {
public:
    TaskId schedule(std::chrono::milliseconds delay, std::function<void()> task) override {
        const TaskId id = ++m_lastId;
        m_tasks.emplace(id, Pending{m_now + delay, std::move(task)});
        return id;
    }
    void cancel(TaskId task) override { m_tasks.erase(task); }

    void advance(std::chrono::milliseconds by) {
        m_now += by;
        for (auto it = m_tasks.begin(); it != m_tasks.end();) {
            if (it->second.due > m_now) {
                ++it;
                continue;
            }
            auto task = std::move(it->second.task);
            it = m_tasks.erase(it);
            task();
        }
    }
    std::size_t pendingCount() const { return m_tasks.size(); }

private:
    struct Pending {
        std::chrono::milliseconds due;
        std::function<void()> task;
    };
    std::chrono::milliseconds m_now{0};
    TaskId m_lastId = 0;
    std::map<TaskId, Pending> m_tasks;
};

}  // namespace corvale
