#pragma once

namespace fenlo {

/// Wakes a thread that sleeps in poll().
///
/// Threads: wake() on any; sleep() on the thread that sleeps.
class Wakeup {
public:
    Wakeup();
    ~Wakeup();
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    void wake();

    /// Sleeps until `descriptor` can be read, wake() was called, or the time is over. Negative seconds: no limit.
    void sleep(int descriptor, double seconds);

private:
    const int m_event;
};

} // namespace fenlo
