#pragma once

#include "platform/Pasteboard.h"
#include "platform/linux/desktop/clipboard/ClipboardEvents.h"

namespace fenlo {

/// Asks the clipboard's owner for its text.
///
/// Threads: one.
class SelectionReader {
public:
    using Clock = ClipboardEvents::Clock;

    SelectionReader(XcbConnection& x, SelectionConversions& conversions, ClipboardEvents& events)
        : m_x(x), m_conversions(conversions), m_events(events) {}

    /// The deadline holds for all questions together.
    Pasteboard::Reading read(Clock::time_point deadline);

private:
    XcbConnection& m_x;
    SelectionConversions& m_conversions;
    ClipboardEvents& m_events;
};

/// The text in a property, which old programs encode in ISO 8859-1.
std::string textIn(const XcbConnection::Property& property);

} // namespace fenlo
