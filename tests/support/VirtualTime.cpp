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
        const auto due = m_timers.nextDue();
        if (!due || *due > std::max(end, m_clock.now()) + rounding)
            break;
        m_clock.advance(std::max(*due - m_clock.now(), 0.0));
        m_timers.runNext(std::max(*due, m_clock.now()));
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
