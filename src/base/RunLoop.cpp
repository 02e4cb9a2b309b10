#include "base/RunLoop.h"

#include <chrono>

namespace fenlo {

RunLoop::RunLoop() = default;

void RunLoop::post(Task task) {
    {
        std::lock_guard lock(m_mutex);
        if (m_ended)
            return;
        m_tasks.push_back(std::move(task));
    }
    m_wake.notify_one();
}

Timer RunLoop::postAfter(double seconds, Task task) {
    return m_timers.once(m_clock.now() + seconds, std::move(task));
}

Timer RunLoop::every(double seconds, Task task) {
    return m_timers.every(seconds, m_clock.now() + seconds, std::move(task));
}

bool RunLoop::isMainThread() const {
    return std::this_thread::get_id() == m_mainThread;
}

void RunLoop::run() {
    std::unique_lock lock(m_mutex);
    const auto hasWork = [this] { return m_ended || !m_tasks.empty(); };
    while (!m_ended) {
        if (!m_tasks.empty()) {
            Task task = std::move(m_tasks.front());
            m_tasks.pop_front();
            lock.unlock();
            task();
            task = nullptr;
            lock.lock();
            continue;
        }
        lock.unlock();
        const bool ranTimer = m_timers.runNext(m_clock.now());
        const auto due = m_timers.nextDue();
        lock.lock();
        if (ranTimer)
            continue;
        if (due)
            m_wake.wait_for(lock, std::chrono::duration<double>(*due - m_clock.now()), hasWork);
        else
            m_wake.wait(lock, hasWork);
    }
    // Dropping the tasks frees every worker that waits in call().
    auto dropped = std::move(m_tasks);
    m_tasks.clear();
    lock.unlock();
    dropped.clear();
}

void RunLoop::quit() {
    {
        std::lock_guard lock(m_mutex);
        m_ended = true;
    }
    m_wake.notify_one();
}

} // namespace fenlo
