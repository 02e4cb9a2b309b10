#pragma once

#include "base/MainQueue.h"

#include <condition_variable>
#include <deque>
#include <map>
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
    struct Delayed {
        unsigned long id;
        double interval; // seconds; 0 for a task that runs once
        Task task;
    };

    Timer schedule(double seconds, double interval, Task task);
    void cancel(unsigned long id);

    const std::thread::id m_mainThread = std::this_thread::get_id();
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Task> m_tasks;
    std::multimap<std::chrono::steady_clock::time_point, Delayed> m_delayed;
    unsigned long m_nextId = 1;
    unsigned long m_cancelledWhileRunning = 0;
    bool m_ended = false;
};

} // namespace fenlo
