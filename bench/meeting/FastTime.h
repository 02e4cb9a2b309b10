#pragma once

#include "base/Clock.h"
#include "base/RunLoop.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace fenlo::bench {

/// What pieces of work on one thread cost, in seconds of the processor.
struct Costs {
    void add(double seconds) {
        ++count;
        sum += seconds;
        longest = std::max(longest, seconds);
    }
    double mean() const { return count > 0 ? sum / static_cast<double>(count) : 0; }

    long count = 0;
    double sum = 0;
    double longest = 0;
};

/// Processor time of the calling thread: other programs beside it do not count, the kernel's work for it does.
inline double processorSeconds() {
    timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The system's clock, on which an hour passes `speed` times as fast.
class FastClock final : public Clock {
public:
    explicit FastClock(double speed) : m_speed(speed) {}

    double now() const override { return m_system.now() * m_speed; }
    std::chrono::system_clock::time_point wallTime() const override { return m_system.wallTime(); }
    void sleep(double seconds) override { m_system.sleep(seconds / m_speed); }

private:
    const double m_speed;
    SystemClock m_system;
};

/// A main queue on that clock. It measures what it runs: repeating tasks, and all others.
///
/// Threads: as any main queue; the costs belong to the main thread.
class FastQueue final : public MainQueue {
public:
    FastQueue(RunLoop& loop, double speed) : m_loop(loop), m_speed(speed) {}

    void post(Task task) override { m_loop.post(measured(std::move(task), once)); }
    Timer postAfter(double seconds, Task task) override {
        return m_loop.postAfter(seconds / m_speed, measured(std::move(task), once));
    }
    Timer every(double seconds, Task task) override {
        return m_loop.every(seconds / m_speed, measured(std::move(task), repeated));
    }
    bool isMainThread() const override { return m_loop.isMainThread(); }

    Costs repeated;
    Costs once;

private:
    static Task measured(Task task, Costs& costs) {
        return [task = std::move(task), &costs] {
            const double begin = processorSeconds();
            task();
            costs.add(processorSeconds() - begin);
        };
    }

    RunLoop& m_loop;
    const double m_speed;
};

} // namespace fenlo::bench
