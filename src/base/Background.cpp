#include "base/Background.h"

#include "base/LogThrown.h"

#include <future>
#include <vector>

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

/// Without the lock, since a stop request calls whatever waits for it.
void ThreadBackground::askToStop() {
    std::vector<std::stop_source> sources;
    {
        std::lock_guard lock(m_mutex);
        m_stopped = true;
        for (Worker& worker : m_workers)
            sources.push_back(worker.thread.get_stop_source());
    }
    for (std::stop_source& source : sources)
        source.request_stop();
}

void ThreadBackground::stop() {
    askToStop();
    std::list<Worker> workers;
    std::lock_guard lock(m_mutex);
    workers.swap(m_workers);
}

} // namespace fenlo
