#pragma once

#include "base/MainQueue.h"
#include "support/WaitUntil.h"

#include <mutex>
#include <thread>
#include <vector>

namespace fenlo::test {

/// The test's own thread as main thread: what other threads post runs while the test waits in runUntil(). In real time,
/// since real servers answer. Timers never fall due.
class PumpedQueue final : public MainQueue {
public:
    void post(Task task) override {
        std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
    }
    Timer postAfter(double, Task) override { return {}; }
    Timer every(double, Task) override { return {}; }
    bool isMainThread() const override { return std::this_thread::get_id() == m_thread; }

    /// Returns whether the condition came true within the seconds.
    bool runUntil(const std::function<bool()>& condition, double limit = 10) {
        return waitUntil(limit, [&] {
            runPosted();
            return condition();
        });
    }

private:
    void runPosted() {
        std::vector<Task> tasks;
        {
            std::lock_guard lock(m_mutex);
            tasks.swap(m_tasks);
        }
        for (const Task& task : tasks)
            task();
    }

    const std::thread::id m_thread = std::this_thread::get_id();
    std::mutex m_mutex;
    std::vector<Task> m_tasks;
};

} // namespace fenlo::test
