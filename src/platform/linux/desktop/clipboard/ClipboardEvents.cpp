#include "platform/linux/desktop/clipboard/ClipboardEvents.h"

#include <cmath>
#include <poll.h>

namespace fenlo {

ClipboardEvents::Event ClipboardEvents::next() {
    if (Event event{xcb_poll_for_event(m_x.get())})
        return event;
    // A flush that waits for the server reads events meanwhile; poll() would not report these any more.
    xcb_flush(m_x.get());
    return Event{xcb_poll_for_queued_event(m_x.get())};
}

void ClipboardEvents::handle(const xcb_generic_event_t& event) {
    m_server.handle(event);
    m_conversions.handle(event);
}

void ClipboardEvents::handleArrived() {
    while (const Event event = next())
        handle(*event);
}

bool ClipboardEvents::sleepUntil(Clock::time_point deadline) {
    const std::chrono::duration<double, std::milli> left = deadline - Clock::now();
    // The thread's wake-up is left for the main loop, which waits for it.
    pollfd source{m_x.descriptor(), POLLIN, 0};
    if (left.count() > 0)
        ::poll(&source, 1, static_cast<int>(std::ceil(left.count())));
    return left.count() > 0;
}

ClipboardEvents::Event ClipboardEvents::waitFor(const std::function<bool(const xcb_generic_event_t&)>& matches,
                                                Clock::time_point deadline) {
    while (!m_x.isLost()) {
        while (Event event = next()) {
            if (matches(*event))
                return event;
            handle(*event);
        }
        if (!sleepUntil(deadline))
            break;
    }
    return nullptr;
}

bool ClipboardEvents::waitFor(const SelectionConversion& conversion, Clock::time_point deadline) {
    while (conversion.isOpen() && !m_x.isLost()) {
        if (const Event event = next())
            handle(*event);
        else if (!sleepUntil(deadline))
            break;
    }
    return !conversion.isOpen();
}

xcb_timestamp_t ClipboardEvents::serverTime(Clock::time_point deadline) {
    const xcb_atom_t stamp = m_x.atom("_FENLO_STAMP");
    m_x.setBytes(m_window, stamp, XCB_ATOM_STRING, "");
    const auto changed = [&](const xcb_generic_event_t& event) {
        const auto* const notify = eventAs<xcb_property_notify_event_t>(event, XCB_PROPERTY_NOTIFY);
        return notify && notify->window == m_window && notify->atom == stamp;
    };
    const Event event = waitFor(changed, deadline);
    return event ? reinterpret_cast<const xcb_property_notify_event_t&>(*event).time
                 : xcb_timestamp_t{XCB_CURRENT_TIME};
}

} // namespace fenlo
