#pragma once

#include "base/MainQueue.h"

#include <map>
#include <memory>
#include <optional>

namespace fenlo {

/// The delayed and repeating tasks of a main queue, in the order in which they fall due.
///
/// Threads:  the main thread only, the timers too.
/// Lifetime: a timer may outlive this.
/// Units:    seconds on the owner's monotonic clock.
class DueTimers {
public:
    using Task = MainQueue::Task;

    [[nodiscard]] Timer once(double due, Task task) { return add(due, 0, std::move(task)); }
    /// Runs first at `due`, then each `interval` seconds after the moment it was due, so that late runs do not add up.
    /// A run that was missed altogether is left out.
    [[nodiscard]] Timer every(double interval, double due, Task task) { return add(due, interval, std::move(task)); }

    /// When the next task is due; nothing when none waits.
    std::optional<double> nextDue();

    /// Runs the first task when it is due by now. False when it is not, or there is none.
    bool runNext(double now);

private:
    struct Entry {
        double interval; // 0 for a task that runs once
        Task task;
        bool isCancelled = false;
    };

    Timer add(double due, double interval, Task task);

    std::multimap<double, std::shared_ptr<Entry>> m_entries; // by the moment they are due
};

} // namespace fenlo
