#pragma once

#include "platform/linux/desktop/SelectionServer.h"
#include "platform/linux/desktop/Wakeup.h"
#include "platform/linux/desktop/XcbConnection.h"

#include <chrono>
#include <functional>

namespace fenlo {

/// The events of the clipboard's connection. Whatever is waited for, requests for our own text are answered meanwhile.
///
/// Threads: one.
class ClipboardEvents {
public:
    using Clock = std::chrono::steady_clock;
    using Event = XcbReply<xcb_generic_event_t>;

    ClipboardEvents(XcbConnection& x, xcb_window_t window, SelectionServer& server, Wakeup& wakeup)
        : m_x(x), m_window(window), m_server(server), m_wakeup(wakeup) {}

    /// Answers what has arrived.
    void handleArrived();

    /// The first event that matches; nothing when none came in time or the server is gone.
    Event waitFor(const std::function<bool(const xcb_generic_event_t&)>& matches, Clock::time_point deadline);

    /// The server's own time, as the protocol asks for in place of "now".
    xcb_timestamp_t serverTime();

private:
    /// The next event that has arrived, or nothing.
    Event next();

    XcbConnection& m_x;
    const xcb_window_t m_window;
    SelectionServer& m_server;
    Wakeup& m_wakeup;
};

} // namespace fenlo
