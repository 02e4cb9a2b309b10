#include "account/LatestTask.h"

#include <utility>

namespace fenlo {

void LatestTask::ask() {
    {
        const std::lock_guard lock(m_mutex);
        if (std::exchange(m_isRunning, true)) {
            m_isAskedAgain = true;
            return;
        }
    }
    m_background.run([this](std::stop_token stop) { run(std::move(stop)); });
}

void LatestTask::run(std::stop_token stop) {
    do
        m_task(stop);
    while (ended() && !stop.stop_requested());
}

bool LatestTask::ended() {
    const std::lock_guard lock(m_mutex);
    m_isRunning = std::exchange(m_isAskedAgain, false);
    return m_isRunning;
}

} // namespace fenlo
