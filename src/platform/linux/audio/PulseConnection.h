#pragma once

#include <functional>
#include <list>
#include <memory>
#include <pulse/context.h>
#include <pulse/thread-mainloop.h>

namespace fenlo {

/// A connection to the sound server and the thread that serves it. A lost connection is tried again until it is back.
///
/// Threads: one lock guards the connection and all that hangs on it. The connection's thread holds it whenever it calls
///          back; other threads take it with PulseLock. A callback must neither take it nor wait.
/// Errors:  an exception that leaves a callback is logged and goes no further.
class PulseConnection {
public:
    using Callback = std::function<void()>;
    struct Hooks {
        Callback ready;
        Callback lost; // time to release the streams and operations of the lost connection
    };
    /// Removes the hooks when it is destroyed, under the lock.
    using Subscription = std::shared_ptr<void>;
    /// Cancels a delayed callback when it is destroyed, under the lock.
    using Delayed = std::shared_ptr<void>;

    PulseConnection();
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    // All of these under the lock.

    /// The context, or nullptr while there is no server.
    pa_context* context() const { return m_isReady ? m_context : nullptr; }
    /// Whether the first attempt to connect has failed.
    bool hasFailed() const { return m_hasFailed; }
    [[nodiscard]] Subscription subscribe(Hooks hooks);
    [[nodiscard]] Delayed after(double seconds, Callback callback);
    /// Releases the lock until the condition holds or the time is over. Not on the connection's thread.
    bool waitFor(const std::function<bool()>& condition, double seconds);
    /// Makes waitFor() look at its condition again.
    void signal();

private:
    friend class PulseLock;

    void makeContext();
    void connect();
    void stateChanged();
    void replaceLostContext();

    pa_threaded_mainloop* const m_loop;
    pa_context* m_context = nullptr;
    bool m_isReady = false;
    bool m_hasFailed = false;
    std::list<Hooks> m_hooks;
    Delayed m_retry;
};

/// Holds the lock of a connection.
class PulseLock {
public:
    explicit PulseLock(PulseConnection& connection);
    ~PulseLock();
    PulseLock(const PulseLock&) = delete;
    PulseLock& operator=(const PulseLock&) = delete;

private:
    pa_threaded_mainloop* const m_loop;
};

/// Calls a member function from a C callback, which no exception may leave.
void callFromPulse(const PulseConnection::Callback& callback) noexcept;

} // namespace fenlo
