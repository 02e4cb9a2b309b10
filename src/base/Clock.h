#pragma once

#include <chrono>

namespace fenlo {

/// The only source of time. Code that waits or measures takes a Clock, so that tests run on virtual time.
///
/// Threads: every operation may be called on any thread.
/// Units:   seconds.
class Clock {
public:
    virtual ~Clock() = default;

    /// Monotonic, and independent of the wall clock; only differences mean anything.
    virtual double now() const = 0;

    virtual std::chrono::system_clock::time_point wallTime() const = 0;

    /// Blocks the calling thread.
    virtual void sleep(double seconds) = 0;
};

class SystemClock final : public Clock {
public:
    double now() const override;
    std::chrono::system_clock::time_point wallTime() const override;
    void sleep(double seconds) override;
};

} // namespace fenlo
