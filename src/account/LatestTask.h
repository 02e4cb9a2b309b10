#pragma once

#include "base/Background.h"

#include <mutex>

namespace fenlo {

/// Runs a task on a worker, never twice at a time: who asks while it runs has it run once more after that.
///
/// Threads:  any; ask() returns at once.
/// Lifetime: outlives the tasks of the background.
class LatestTask {
public:
    LatestTask(Background& background, Background::Task task) : m_background(background), m_task(std::move(task)) {}
    LatestTask(const LatestTask&) = delete;
    LatestTask& operator=(const LatestTask&) = delete;

    void ask();

private:
    void run(std::stop_token stop);
    /// Whether it is to run once more.
    bool ended();

    Background& m_background;
    const Background::Task m_task;
    std::mutex m_mutex;
    bool m_isRunning = false;
    bool m_isAskedAgain = false;
};

} // namespace fenlo
