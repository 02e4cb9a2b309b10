#include "platform/linux/desktop/clipboard/X11Selections.h"

namespace fenlo {

std::unique_ptr<X11Selections> X11Selections::open() {
    auto x = XcbConnection::open();
    return x ? std::unique_ptr<X11Selections>(new X11Selections(std::move(x))) : nullptr;
}

X11Selections::X11Selections(std::unique_ptr<XcbConnection> x)
    : m_x(std::move(x)), m_window(m_x->makeWindow(XCB_EVENT_MASK_PROPERTY_CHANGE)), m_clipboard(m_x->atom("CLIPBOARD")),
      m_server(*m_x, m_window), m_conversions(*m_x, m_window), m_events(*m_x, m_window, m_server, m_conversions),
      m_reader(*m_x, m_conversions, m_events), m_saver(*m_x, m_conversions, m_events) {}

void X11Selections::offer(Name name, const std::string& text, Stay stay, Moment moment) {
    m_server.offer(atom(name), {.text = text, .forms = {}}, stay, moment);
}

bool X11Selections::offerAgain(Name name, const Saved& saved, Moment moment) {
    SelectionContents contents = static_cast<const SavedSelection&>(saved).contents();
    if (contents.isEmpty())
        return false;
    m_server.offer(atom(name), std::move(contents), Stay::lasting, moment);
    return true;
}

Pasteboard::Reading X11Selections::read(Clock::time_point deadline) {
    const xcb_window_t owner = m_x->selectionOwner(m_clipboard);
    if (owner == XCB_WINDOW_NONE)
        return {};
    return owner == m_window ? Pasteboard::Reading{.text = m_server.contents(m_clipboard).text}
                             : m_reader.read(deadline);
}

std::shared_ptr<const Selections::Saved> X11Selections::save(Name name, Clock::time_point deadline) {
    const xcb_window_t owner = m_x->selectionOwner(atom(name));
    if (owner == XCB_WINDOW_NONE)
        return std::make_shared<const SavedSelection>();
    if (owner == m_window)
        return std::make_shared<const SavedSelection>(m_server.contents(atom(name)));
    return m_saver.save(atom(name), deadline);
}

void X11Selections::handOver(Clock::time_point deadline) {
    if (!m_server.owns(m_clipboard) || m_server.lends(m_clipboard))
        return;
    const xcb_atom_t manager = m_x->atom("CLIPBOARD_MANAGER");
    const xcb_atom_t property = m_x->atom("_FENLO_SAVE");
    m_x->setNumbers(m_window, property, XCB_ATOM_ATOM, m_server.contentTargets(m_clipboard));
    xcb_convert_selection(m_x->get(), m_window, manager, m_x->atom("SAVE_TARGETS"), property, m_events.serverTime());
    // Without a manager the server itself answers at once.
    const auto isSaved = [&](const xcb_generic_event_t& event) {
        const auto* const notify = eventAs<xcb_selection_notify_event_t>(event, XCB_SELECTION_NOTIFY);
        return notify && notify->selection == manager;
    };
    m_events.waitFor(isSaved, deadline);
}

} // namespace fenlo
