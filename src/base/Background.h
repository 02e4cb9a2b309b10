#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <mutex>
#include <stop_token>
#include <thread>

namespace fenlo {

/// Runs plain blocking code on workers, so that the main thread does not wait.
///
/// Threads: run() on any thread. Each task has a thread of its own while it runs; tasks may finish in any order.
/// Errors:  an exception that leaves a task is logged, and ends that task only.
class Background {
public:
    /// The token asks the task to end; every wait inside it must honour it within a second.
    using Task = std::function<void(std::stop_token)>;

    virtual ~Background() = default;
    virtual void run(Task task) = 0;
};

class ThreadBackground final : public Background {
public:
    ~ThreadBackground() override;

    void run(Task task) override;

    /// Asks all tasks to end; later tasks are dropped.
    void askToStop();
    /// Asks, and waits for them. End the main queue first: a task that waits for the main thread would never return.
    void stop();

private:
    struct Worker {
        std::atomic<bool> finished = false;
        std::jthread thread;
    };

    std::mutex m_mutex;
    bool m_stopped = false;
    std::list<Worker> m_workers;
};

} // namespace fenlo
