#pragma once

#include "platform/linux/desktop/XcbConnection.h"
#include "platform/linux/desktop/clipboard/SelectionConversions.h"
#include "platform/linux/desktop/clipboard/SelectionServer.h"

#include <chrono>
#include <functional>

namespace fenlo {

/// The events of the clipboard's connection. During every wait, other programs' requests and answers are handled.
///
/// Threads: one.
class ClipboardEvents {
public:
    using Clock = std::chrono::steady_clock;
    using Event = XcbReply<xcb_generic_event_t>;

    ClipboardEvents(XcbConnection& x, xcb_window_t window, SelectionServer& server, SelectionConversions& conversions)
        : m_x(x), m_window(window), m_server(server), m_conversions(conversions) {}

    /// Handles what has arrived.
    void handleArrived();

    /// The first event that matches; nothing when none came in time or the server is gone.
    Event waitFor(const std::function<bool(const xcb_generic_event_t&)>& matches, Clock::time_point deadline);

    /// Waits until the conversion is done or failed; false when it is still open at the deadline.
    bool waitFor(const SelectionConversion& conversion, Clock::time_point deadline);

    /// The server's own time, which the protocol wants instead of "now"; "now" when the server does not tell in time.
    xcb_timestamp_t serverTime(Clock::time_point deadline = Clock::now() + std::chrono::seconds(1));

private:
    /// The next event that has arrived, or nothing.
    Event next();
    void handle(const xcb_generic_event_t& event);
    /// Sleeps until something comes; false at the deadline.
    bool sleepUntil(Clock::time_point deadline);

    XcbConnection& m_x;
    const xcb_window_t m_window;
    SelectionServer& m_server;
    SelectionConversions& m_conversions;
};

} // namespace fenlo
