#pragma once

#include "base/Clock.h"
#include "base/DueTimers.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace fenlo {

/// A MainQueue that needs no toolkit: the thread that calls run() is the main thread. Used by the command line.
class RunLoop final : public MainQueue {
public:
    /// The thread that makes the loop is the main thread.
    RunLoop();

    void post(Task task) override;
    Timer postAfter(double seconds, Task task) override;
    Timer every(double seconds, Task task) override;
    bool isMainThread() const override;

    /// Runs tasks until quit(). Tasks that come later are dropped.
    void run();
    void quit();

private:
    const std::thread::id m_mainThread = std::this_thread::get_id();
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Task> m_tasks;
    bool m_ended = false;
    SystemClock m_clock;
    DueTimers m_timers;
};

} // namespace fenlo
