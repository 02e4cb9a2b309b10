#include "base/Background.h"

#include "base/LogThrown.h"

#include <future>

namespace fenlo {

namespace {

void runGuarded(const Background::Task& task, std::stop_token stop) {
    logThrown("background task failed", [&] {
        try {
            task(stop);
        } catch (const std::future_error&) {
            // The main queue ended while the task waited for it: the program is quitting.
        }
    });
}

} // namespace

ThreadBackground::~ThreadBackground() {
    stop();
}

void ThreadBackground::run(Task task) {
    std::lock_guard lock(m_mutex);
    if (m_stopped)
        return;
    m_workers.remove_if([](const Worker& worker) { return worker.finished.load(); });
    Worker& worker = m_workers.emplace_back();
    worker.thread = std::jthread([&worker, task = std::move(task)](std::stop_token stop) mutable {
        runGuarded(task, stop);
        task = nullptr;
        worker.finished = true;
    });
}

void ThreadBackground::stop() {
    std::list<Worker> workers;
    {
        std::lock_guard lock(m_mutex);
        m_stopped = true;
        workers.swap(m_workers);
    }
    for (Worker& worker : workers)
        worker.thread.request_stop();
}

} // namespace fenlo
