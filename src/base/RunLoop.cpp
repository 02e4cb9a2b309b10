#include "base/RunLoop.h"

#include <algorithm>
#include <chrono>

namespace fenlo {

using SteadyClock = std::chrono::steady_clock;

namespace {

SteadyClock::time_point after(double seconds) {
    return SteadyClock::now() +
           std::chrono::duration_cast<SteadyClock::duration>(std::chrono::duration<double>(seconds));
}

} // namespace

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
    return schedule(seconds, 0, std::move(task));
}

Timer RunLoop::every(double seconds, Task task) {
    return schedule(seconds, seconds, std::move(task));
}

bool RunLoop::isMainThread() const {
    return std::this_thread::get_id() == m_mainThread;
}

Timer RunLoop::schedule(double seconds, double interval, Task task) {
    std::lock_guard lock(m_mutex);
    const auto id = m_nextId++;
    m_delayed.emplace(after(seconds), Delayed{id, interval, std::move(task)});
    return Timer([this, id] { cancel(id); });
}

void RunLoop::cancel(unsigned long id) {
    std::lock_guard lock(m_mutex);
    const auto found =
        std::find_if(m_delayed.begin(), m_delayed.end(), [id](auto& entry) { return entry.second.id == id; });
    if (found != m_delayed.end())
        m_delayed.erase(found);
    else
        m_cancelledWhileRunning = id;
}

void RunLoop::run() {
    std::unique_lock lock(m_mutex);
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
        if (m_delayed.empty()) {
            m_wake.wait(lock);
            continue;
        }
        const auto due = m_delayed.begin()->first;
        if (SteadyClock::now() < due) {
            m_wake.wait_until(lock, due);
            continue;
        }
        Delayed delayed = std::move(m_delayed.begin()->second);
        m_delayed.erase(m_delayed.begin());
        m_cancelledWhileRunning = 0;
        lock.unlock();
        delayed.task();
        lock.lock();
        if (delayed.interval > 0 && m_cancelledWhileRunning != delayed.id) {
            const auto next = after(delayed.interval);
            m_delayed.emplace(next, std::move(delayed));
        }
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
