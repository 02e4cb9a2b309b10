#pragma once

#include "hub/HubClient.h"

namespace fenlo::hub {

/// A fault that may pass by itself, so that another attempt makes sense.
struct PassingFault : HubError {
    PassingFault(Kind reason, const std::string& message, double seconds = 0)
        : HubError(reason, message), askedPause(seconds) {}
    double askedPause; // seconds that the hub asked for; 0 for none
};

/// The other end does not answer, or sends next to nothing. The user has waited long enough already, so only an attempt
/// that received something is repeated.
struct Silence : PassingFault {
    using PassingFault::PassingFault;
};

/// Sleeps in steps short enough for a stop request; throws HubError cancelled on one.
void pause(Clock& clock, double seconds, std::stop_token stop);

[[noreturn]] void throwCancelled();

/// Counts attempts and spaces them: 1, 2, 4 … seconds, or what the hub asks for.
class Retries {
public:
    Retries(Clock& clock, int attempts) : m_clock(clock), m_attempts(attempts) {}

    /// Waits before another attempt. Throws the fault when no attempt is left or the hub asks for too long a pause.
    void waitAfter(const PassingFault& fault, std::stop_token stop);

    /// The last attempt received something: counting starts over.
    void begin() { m_failed = 0; }

private:
    Clock& m_clock;
    const int m_attempts;
    int m_failed = 0;
};

} // namespace fenlo::hub
