#include "platform/desktop/SelectionOwner.h"

#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/XcbConnection.h"

#include <array>
#include <cstring>

namespace fenlo::test {

namespace {

constexpr std::size_t pieceSize = 100'000; // bytes

} // namespace

SelectionOwner::SelectionOwner(Manner manner, std::string text)
    : m_manner(manner), m_text(std::move(text)), m_window(m_x->makeWindow()) {
    xcb_set_selection_owner(m_x->get(), m_window, m_x->atom("CLIPBOARD"), XCB_CURRENT_TIME);
    m_x->atom("UTF8_STRING"); // the answer says that the server has come this far
    m_thread = std::jthread([this](std::stop_token stop) { run(stop); });
}

SelectionOwner::~SelectionOwner() = default;

void SelectionOwner::run(std::stop_token stop) {
    while (!stop.stop_requested() && !m_x->isLost()) {
        const XcbReply<xcb_generic_event_t> event(xcb_poll_for_event(m_x->get()));
        if (!event) {
            xcb_flush(m_x->get());
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        } else if (const auto* request = eventAs<xcb_selection_request_event_t>(*event, XCB_SELECTION_REQUEST)) {
            answer(*request);
        } else if (const auto* changed = eventAs<xcb_property_notify_event_t>(*event, XCB_PROPERTY_NOTIFY)) {
            sendPiece(*changed);
        }
    }
}

void SelectionOwner::answer(const xcb_selection_request_event_t& request) {
    if (m_manner == Manner::silent)
        return;
    xcb_atom_t property = request.property;
    if (m_manner == Manner::onlyLatin && request.target != XCB_ATOM_STRING) {
        property = XCB_ATOM_NONE;
    } else if (m_manner == Manner::pieces || m_manner == Manner::stops) {
        const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(m_x->get(), request.requestor, XCB_CW_EVENT_MASK, &events);
        m_x->setNumbers(request.requestor, property, m_x->atom("INCR"), {1});
        m_property = property;
        m_target = request.target;
        m_sent = 0;
    } else {
        m_x->setBytes(request.requestor, property, request.target, m_text);
    }
    xcb_selection_notify_event_t notify{
        XCB_SELECTION_NOTIFY, 0, 0, request.time, request.requestor, request.selection, request.target, property};
    std::array<char, 32> wire{};
    std::memcpy(wire.data(), &notify, sizeof notify);
    xcb_send_event(m_x->get(), false, request.requestor, XCB_EVENT_MASK_NO_EVENT, wire.data());
}

void SelectionOwner::sendPiece(const xcb_property_notify_event_t& fetched) {
    if (fetched.state != XCB_PROPERTY_DELETE || fetched.atom != m_property)
        return;
    if (m_manner == Manner::stops && m_sent > 0)
        return;
    const auto piece = std::string_view(m_text).substr(std::min(m_sent, m_text.size()), pieceSize);
    m_x->setBytes(fetched.window, fetched.atom, m_target, piece);
    m_sent += piece.size();
    if (piece.empty())
        m_property = XCB_ATOM_NONE;
}

} // namespace fenlo::test
