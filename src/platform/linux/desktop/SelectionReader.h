#pragma once

#include "platform/linux/desktop/ClipboardEvents.h"

#include <optional>
#include <string>

namespace fenlo {

/// Asks the clipboard's owner for its text.
///
/// Threads: one.
class SelectionReader {
public:
    SelectionReader(XcbConnection& x, xcb_window_t window, ClipboardEvents& events)
        : m_x(x), m_window(window), m_events(events) {}

    /// Nothing when the owner has no text or lets `limit` seconds go by without moving on.
    std::optional<std::string> read(double limit);

private:
    struct Answer {
        bool isRefused = false;
        std::optional<std::string> text;
    };

    Answer ask(xcb_atom_t target, double limit);
    std::optional<XcbConnection::Property> collect(xcb_atom_t property, double limit);
    std::string decode(const XcbConnection::Property& property) const;

    XcbConnection& m_x;
    const xcb_window_t m_window;
    ClipboardEvents& m_events;
    unsigned m_attempt = 0;
};

} // namespace fenlo
