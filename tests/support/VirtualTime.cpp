#include "support/VirtualTime.h"

#include <algorithm>

namespace fenlo::test {

std::chrono::system_clock::time_point VirtualClock::wallTime() const {
    using namespace std::chrono;
    return system_clock::time_point(duration_cast<system_clock::duration>(duration<double>(1.7e9 + m_now)));
}

void VirtualClock::sleep(double seconds) {
    m_now += seconds;
    slept += seconds;
    if (onSleep)
        onSleep(seconds);
}

Timer VirtualMainQueue::schedule(double seconds, double interval, Task task) {
    const auto id = m_nextId++;
    m_delayed.emplace(m_clock.now() + seconds, Delayed{interval, std::move(task), id});
    return Timer([this, id] {
        const auto found =
            std::find_if(m_delayed.begin(), m_delayed.end(), [id](auto& e) { return e.second.id == id; });
        if (found != m_delayed.end())
            m_delayed.erase(found);
        else
            m_cancelled = id;
    });
}

void VirtualMainQueue::runPosted() {
    advance(0);
}

void VirtualMainQueue::advance(double seconds) {
    constexpr double rounding = 1e-9;
    const double end = m_clock.now() + seconds;
    for (;;) {
        if (!m_tasks.empty()) {
            Task task = std::move(m_tasks.front());
            m_tasks.pop_front();
            task();
            continue;
        }
        if (m_delayed.empty() || m_delayed.begin()->first > std::max(end, m_clock.now()) + rounding)
            break;
        const double due = m_delayed.begin()->first;
        Delayed delayed = std::move(m_delayed.begin()->second);
        m_delayed.erase(m_delayed.begin());
        if (due > m_clock.now())
            m_clock.advance(due - m_clock.now());
        m_cancelled = 0;
        delayed.task();
        if (delayed.interval > 0 && m_cancelled != delayed.id)
            m_delayed.emplace(due + delayed.interval, std::move(delayed));
    }
    if (end > m_clock.now())
        m_clock.advance(end - m_clock.now());
}

void ManualBackground::runAll() {
    while (!m_tasks.empty()) {
        Task task = std::move(m_tasks.front());
        m_tasks.pop_front();
        task(std::stop_token());
    }
}

} // namespace fenlo::test
