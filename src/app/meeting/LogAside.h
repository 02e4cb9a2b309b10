#pragma once

namespace fenlo {

/// While it lives, what is written to standard error goes nowhere, so that log lines do not run into the progress of a
/// terminal; the log file has them. The command itself writes to descriptor().
///
/// Lifetime: made before any other thread.
class LogAside {
public:
    /// With `isShown` the lines stay where they are.
    explicit LogAside(bool isShown);
    ~LogAside();
    LogAside(const LogAside&) = delete;
    LogAside& operator=(const LogAside&) = delete;

    int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

} // namespace fenlo
