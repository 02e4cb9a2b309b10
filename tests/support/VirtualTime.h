#pragma once

#include "base/Background.h"
#include "base/Clock.h"
#include "base/DueTimers.h"

#include <atomic>
#include <deque>

namespace fenlo::test {

/// Clock, main queue and background with a common virtual time; everything runs on the thread of the test. Other
/// threads may read the clock and sleep on it.
///
/// sleep() advances the time at once without running timers, as a blocked main thread would; onSleep, when set, is
/// called in the middle of it, so that a test can do other threads' work meanwhile.
class VirtualClock final : public Clock {
public:
    double now() const override { return m_now; }
    std::chrono::system_clock::time_point wallTime() const override;
    void sleep(double seconds) override;
    void advance(double seconds) { m_now += seconds; }

    std::function<void(double seconds)> onSleep;
    std::atomic<double> slept = 0;

private:
    std::atomic<double> m_now = 1000;
};

class VirtualMainQueue final : public MainQueue {
public:
    explicit VirtualMainQueue(VirtualClock& clock) : m_clock(clock) {}

    void post(Task task) override { m_tasks.push_back(std::move(task)); }
    Timer postAfter(double seconds, Task task) override {
        return m_timers.once(m_clock.now() + seconds, std::move(task));
    }
    Timer every(double seconds, Task task) override {
        return m_timers.every(seconds, m_clock.now() + seconds, std::move(task));
    }
    bool isMainThread() const override { return true; }

    /// Runs everything that is due, without advancing the time.
    void runPosted();
    /// Advances the time, running each timer at its moment.
    void advance(double seconds);

private:
    VirtualClock& m_clock;
    std::deque<Task> m_tasks;
    DueTimers m_timers;
};

/// Keeps tasks until the test runs them.
class ManualBackground final : public Background {
public:
    void run(Task task) override { m_tasks.push_back(std::move(task)); }
    void runAll();
    std::size_t pending() const { return m_tasks.size(); }

private:
    std::deque<Task> m_tasks;
};

} // namespace fenlo::test
