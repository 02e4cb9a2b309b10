#include "platform/desktop/clipboard/SelectionOwner.h"

#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/XcbConnection.h"

#include <array>
#include <cstring>
#include <utility>

namespace fenlo::test {

namespace {

constexpr std::size_t pieceSize = 100'000; // bytes

} // namespace

SelectionOwner::SelectionOwner(Manner manner, std::optional<std::string> text, Forms forms)
    : m_manner(manner), m_text(std::move(text)), m_forms(std::move(forms)), m_window(m_x->makeWindow()),
      m_mayAnswer(manner != Manner::late) {
    xcb_set_selection_owner(m_x->get(), m_window, m_x->atom("CLIPBOARD"), XCB_CURRENT_TIME);
    m_x->atom("UTF8_STRING"); // its answer shows that the server has handled the line before
    m_thread = std::jthread([this](std::stop_token stop) { run(stop); });
}

SelectionOwner::~SelectionOwner() = default;

void SelectionOwner::run(std::stop_token stop) {
    while (!stop.stop_requested() && !m_x->isLost()) {
        if (m_mayAnswer)
            for (const auto& request : std::exchange(m_unanswered, {}))
                answer(request);
        const XcbReply<xcb_generic_event_t> event(xcb_poll_for_event(m_x->get()));
        if (!event) {
            xcb_flush(m_x->get());
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        } else if (const auto* request = eventAs<xcb_selection_request_event_t>(*event, XCB_SELECTION_REQUEST)) {
            m_unanswered.push_back(*request);
        } else if (const auto* changed = eventAs<xcb_property_notify_event_t>(*event, XCB_PROPERTY_NOTIFY)) {
            sendPiece(*changed);
        }
    }
}

void SelectionOwner::answer(const xcb_selection_request_event_t& request) {
    if (m_manner == Manner::silent)
        return;
    xcb_atom_t property = request.property;
    const std::string* const content = contentFor(request.target);
    if (request.target == m_x->atom("TARGETS") && m_manner != Manner::onlyLatin) {
        m_x->setNumbers(request.requestor, property, XCB_ATOM_ATOM, targets());
    } else if (!content) {
        property = XCB_ATOM_NONE;
    } else if (m_manner == Manner::pieces || m_manner == Manner::stops || m_manner == Manner::dribbles) {
        const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(m_x->get(), request.requestor, XCB_CW_EVENT_MASK, &events);
        m_x->setNumbers(request.requestor, property, m_x->atom("INCR"), {1});
        m_property = property;
        m_target = request.target;
        m_content = content;
        m_sent = 0;
    } else {
        m_x->setBytes(request.requestor, property, request.target, *content);
    }
    xcb_selection_notify_event_t notify{
        XCB_SELECTION_NOTIFY, 0, 0, request.time, request.requestor, request.selection, request.target, property};
    std::array<char, 32> wire{};
    std::memcpy(wire.data(), &notify, sizeof notify);
    xcb_send_event(m_x->get(), false, request.requestor, XCB_EVENT_MASK_NO_EVENT, wire.data());
}

std::vector<xcb_atom_t> SelectionOwner::targets() {
    std::vector<xcb_atom_t> targets{m_x->atom("TARGETS")};
    if (m_text)
        targets.push_back(m_x->atom("UTF8_STRING"));
    for (const auto& [name, bytes] : m_forms)
        targets.push_back(m_x->atom(name));
    return targets;
}

const std::string* SelectionOwner::contentFor(xcb_atom_t target) {
    for (const auto& [name, bytes] : m_forms)
        if (target == m_x->atom(name))
            return &bytes;
    const xcb_atom_t text = m_x->atom(m_manner == Manner::onlyLatin ? "STRING" : "UTF8_STRING");
    return target == text && m_text ? &*m_text : nullptr;
}

void SelectionOwner::sendPiece(const xcb_property_notify_event_t& fetched) {
    if (fetched.state != XCB_PROPERTY_DELETE || fetched.atom != m_property)
        return;
    if (m_manner == Manner::stops && m_sent > 0)
        return;
    const std::size_t size = m_manner == Manner::dribbles ? 1 : pieceSize;
    const auto piece = std::string_view(*m_content).substr(std::min(m_sent, m_content->size()), size);
    m_x->setBytes(fetched.window, fetched.atom, m_target, piece);
    m_sent += piece.size();
    if (piece.empty())
        m_property = XCB_ATOM_NONE;
}

} // namespace fenlo::test
