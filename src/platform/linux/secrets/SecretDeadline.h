#pragma once

#include <gio/gio.h>
#include <thread>

namespace fenlo {

/// Cancels an operation of GLib when it takes too long, or when the store is closed meanwhile.
class SecretDeadline {
public:
    /// `closed` must outlive this. The limit is in seconds.
    SecretDeadline(GCancellable* closed, double limit);
    SecretDeadline(const SecretDeadline&) = delete;
    SecretDeadline& operator=(const SecretDeadline&) = delete;
    ~SecretDeadline();

    GCancellable* cancellable() const { return m_cancellable; }

private:
    GCancellable* const m_closed;
    GCancellable* const m_cancellable;
    const gulong m_link;
    std::jthread m_watch;
};

} // namespace fenlo
