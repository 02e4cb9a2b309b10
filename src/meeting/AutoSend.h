#pragma once

#include "base/Lifetime.h"
#include "base/MainQueue.h"

#include <functional>

namespace fenlo {

/// Sends the notes by itself a minute after they are ready, unless the user cancels.
///
/// Threads:  main thread only.
/// Lifetime: its end cancels the countdown; a result that comes later is dropped.
class AutoSend {
public:
    using Done = std::function<void(bool isAccepted)>;

    /// `send` begins to send and has `done` called later on the main thread; `changed` hears of every change here.
    AutoSend(MainQueue& mainQueue, std::function<void(Done done)> send, std::function<void()> changed);

    /// Counts down from the beginning. Only for a user who is signed in to a service that sends mail.
    void start();
    /// Nothing goes out by itself any more.
    void cancel();
    /// For a new meeting. The result of a mail that is under way no longer counts.
    void reset();

    int countdown() const { return m_countdown; } // seconds; 0 when it does not run
    bool isCancelled() const { return m_isCancelled; }
    bool isCompleted() const { return m_isCompleted; }

private:
    void tick();

    MainQueue& m_mainQueue;
    const std::function<void(Done done)> m_send;
    const std::function<void()> m_changed;
    int m_countdown = 0;
    bool m_isCancelled = false;
    bool m_isCompleted = false;
    int m_round = 0; // tells the results of earlier meetings apart
    Timer m_timer;
    Lifetime m_lifetime;
};

} // namespace fenlo
