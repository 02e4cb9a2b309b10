#include "platform/linux/desktop/ClipboardEvents.h"

namespace fenlo {

ClipboardEvents::Event ClipboardEvents::next() {
    if (Event event{xcb_poll_for_event(m_x.get())})
        return event;
    // A flush that has to wait for the server reads events meanwhile, which the connection then announces no more.
    xcb_flush(m_x.get());
    return Event{xcb_poll_for_queued_event(m_x.get())};
}

void ClipboardEvents::handleArrived() {
    while (const Event event = next())
        m_server.handle(*event);
}

ClipboardEvents::Event ClipboardEvents::waitFor(const std::function<bool(const xcb_generic_event_t&)>& matches,
                                                Clock::time_point deadline) {
    while (!m_x.isLost()) {
        while (Event event = next()) {
            if (matches(*event))
                return event;
            m_server.handle(*event);
        }
        const std::chrono::duration<double> left = deadline - Clock::now();
        if (left.count() <= 0)
            break;
        m_wakeup.sleep(m_x.descriptor(), left.count());
    }
    return nullptr;
}

xcb_timestamp_t ClipboardEvents::serverTime() {
    constexpr auto patience = std::chrono::seconds(1);
    const xcb_atom_t stamp = m_x.atom("_FENLO_STAMP");
    m_x.setBytes(m_window, stamp, XCB_ATOM_STRING, "");
    const auto changed = [&](const xcb_generic_event_t& event) {
        const auto* const notify = eventAs<xcb_property_notify_event_t>(event, XCB_PROPERTY_NOTIFY);
        return notify && notify->window == m_window && notify->atom == stamp;
    };
    const Event event = waitFor(changed, Clock::now() + patience);
    return event ? reinterpret_cast<const xcb_property_notify_event_t&>(*event).time
                 : xcb_timestamp_t{XCB_CURRENT_TIME};
}

} // namespace fenlo
