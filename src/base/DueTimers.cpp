#include "base/DueTimers.h"

namespace fenlo {

Timer DueTimers::add(double due, double interval, Task task) {
    const auto entry = std::make_shared<Entry>(Entry{interval, std::move(task)});
    m_entries.emplace(due, entry);
    return Timer([waiting = std::weak_ptr(entry)] {
        if (const auto cancelled = waiting.lock()) {
            cancelled->isCancelled = true;
            cancelled->task = nullptr; // lets go of what the task holds
        }
    });
}

std::optional<double> DueTimers::nextDue() {
    while (!m_entries.empty() && m_entries.begin()->second->isCancelled)
        m_entries.erase(m_entries.begin());
    return m_entries.empty() ? std::nullopt : std::optional(m_entries.begin()->first);
}

bool DueTimers::runNext(double now) {
    const auto due = nextDue();
    if (!due || *due > now)
        return false;
    const auto entry = m_entries.begin()->second;
    m_entries.erase(m_entries.begin());
    // Outside the entry, so that it may cancel its own timer.
    Task task = std::move(entry->task);
    task();
    if (entry->interval > 0 && !entry->isCancelled) {
        entry->task = std::move(task);
        const double next = *due + entry->interval;
        m_entries.emplace(next > now ? next : now + entry->interval, entry);
    }
    return true;
}

} // namespace fenlo
