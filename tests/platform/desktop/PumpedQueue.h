#pragma once

#include "base/MainQueue.h"
#include "platform/desktop/VirtualDesktop.h"

#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace fenlo::test {

/// The test's own thread as main thread: what other threads post runs when the test looks for it. In real time, since
/// it waits for a real desktop.
class PumpedQueue final : public MainQueue {
public:
    void post(Task task) override {
        std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
    }
    Timer postAfter(double, Task) override { throw std::logic_error("nothing here needs a timer"); }
    Timer every(double, Task) override { throw std::logic_error("nothing here needs a timer"); }
    bool isMainThread() const override { return std::this_thread::get_id() == m_thread; }

    void runPosted() {
        std::vector<Task> tasks;
        {
            std::lock_guard lock(m_mutex);
            tasks.swap(m_tasks);
        }
        for (const Task& task : tasks)
            task();
    }

    bool runUntil(const std::function<bool()>& condition, double limit = 5) {
        return eventually(
            [&] {
                runPosted();
                return condition();
            },
            limit);
    }

private:
    const std::thread::id m_thread = std::this_thread::get_id();
    std::mutex m_mutex;
    std::vector<Task> m_tasks;
};

} // namespace fenlo::test
