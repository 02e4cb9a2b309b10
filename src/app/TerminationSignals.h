#pragma once

#include <csignal>
#include <functional>
#include <thread>

namespace fenlo {

/// Turns SIGINT, SIGTERM and SIGHUP into calls, instead of the end of the process.
///
/// Threads: the handler runs on a thread of its own, for as long as this lives.
class TerminationSignals {
public:
    /// For a program that makes threads before its TerminationSignals: all threads must inherit the blocked signals.
    static void block();

    /// Made before any other thread, unless block() was called by then.
    explicit TerminationSignals(std::function<void()> onSignal);

private:
    std::jthread m_waiter;
};

} // namespace fenlo
