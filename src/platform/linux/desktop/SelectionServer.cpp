#include "platform/linux/desktop/SelectionServer.h"

#include "platform/linux/desktop/Latin1.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace fenlo {

namespace {

constexpr auto stallLimit = std::chrono::seconds(10); // a reader that takes longer for a piece is gone

} // namespace

void SelectionServer::offer(std::string text, Pasteboard::Offer offer, xcb_timestamp_t time) {
    m_text = std::make_shared<const std::string>(std::move(text));
    m_latin.reset();
    if (auto latin = latin1FromUtf8(*m_text))
        m_latin = std::make_shared<const std::string>(std::move(*latin));
    m_offer = offer;
    xcb_set_selection_owner(m_x.get(), m_window, m_x.atom("CLIPBOARD"), time);
    m_clipboard = {true, time};
    if (offer.primary) {
        xcb_set_selection_owner(m_x.get(), m_window, XCB_ATOM_PRIMARY, time);
        m_primary = {true, time};
    } else if (std::exchange(m_primary, {}).isOwned) {
        xcb_set_selection_owner(m_x.get(), XCB_WINDOW_NONE, XCB_ATOM_PRIMARY, time);
    }
}

void SelectionServer::clear(xcb_timestamp_t time) {
    xcb_set_selection_owner(m_x.get(), XCB_WINDOW_NONE, m_x.atom("CLIPBOARD"), time);
    if (m_primary.isOwned)
        xcb_set_selection_owner(m_x.get(), XCB_WINDOW_NONE, XCB_ATOM_PRIMARY, time);
    m_clipboard = m_primary = {};
    m_text = std::make_shared<const std::string>();
    m_latin.reset();
    m_offer = {};
}

void SelectionServer::handle(const xcb_generic_event_t& event) {
    if (const auto* request = eventAs<xcb_selection_request_event_t>(event, XCB_SELECTION_REQUEST))
        answer(*request);
    else if (const auto* cleared = eventAs<xcb_selection_clear_event_t>(event, XCB_SELECTION_CLEAR))
        lose(*cleared);
    else if (const auto* changed = eventAs<xcb_property_notify_event_t>(event, XCB_PROPERTY_NOTIFY);
             changed && changed->state == XCB_PROPERTY_DELETE)
        sendNextPiece(changed->window, changed->atom);
    else if (const auto* gone = eventAs<xcb_destroy_notify_event_t>(event, XCB_DESTROY_NOTIFY))
        std::erase_if(m_transfers, [&](const Transfer& each) { return each.requestor == gone->window; });
}

void SelectionServer::lose(const xcb_selection_clear_event_t& cleared) {
    Selection* const lost = selection(cleared.selection);
    // One from before we took the selection anew tells nothing.
    if (lost && static_cast<std::int32_t>(cleared.time - lost->since) >= 0)
        *lost = {};
}

bool SelectionServer::dropStalled(Clock::time_point now) {
    std::erase_if(m_transfers, [&](const Transfer& transfer) { return now - transfer.lastFetch > stallLimit; });
    return !m_transfers.empty();
}

SelectionServer::Selection* SelectionServer::selection(xcb_atom_t name) {
    if (name == XCB_ATOM_PRIMARY)
        return &m_primary;
    return name == m_x.atom("CLIPBOARD") ? &m_clipboard : nullptr;
}

void SelectionServer::answer(const xcb_selection_request_event_t& request) {
    // Programs of old leave the choice of the property to the owner.
    const xcb_atom_t property = request.property != XCB_ATOM_NONE ? request.property : request.target;
    const Selection* const asked = selection(request.selection);
    const bool isDone = asked && asked->isOwned && convert(*asked, request.requestor, request.target, property);
    xcb_selection_notify_event_t notify{};
    notify.response_type = XCB_SELECTION_NOTIFY;
    notify.time = request.time;
    notify.requestor = request.requestor;
    notify.selection = request.selection;
    notify.target = request.target;
    notify.property = isDone ? property : xcb_atom_t{XCB_ATOM_NONE};
    std::array<char, 32> wire{}; // the length of every event
    static_assert(sizeof notify <= wire.size());
    std::memcpy(wire.data(), &notify, sizeof notify);
    xcb_send_event(m_x.get(), false, request.requestor, XCB_EVENT_MASK_NO_EVENT, wire.data());
}

bool SelectionServer::convert(const Selection& selection, xcb_window_t requestor, xcb_atom_t target,
                              xcb_atom_t property) {
    if (target == m_x.atom("MULTIPLE"))
        return convertMultiple(selection, requestor, property);
    if (target == m_x.atom("TARGETS")) {
        m_x.setNumbers(requestor, property, XCB_ATOM_ATOM, targets());
        return true;
    }
    if (target == m_x.atom("TIMESTAMP")) {
        m_x.setNumbers(requestor, property, XCB_ATOM_INTEGER, {selection.since});
        return true;
    }
    auto bytes = bytesFor(target);
    if (!bytes)
        return false;
    const bool isLeftToUs = target == m_x.atom("TEXT");
    send(requestor, property, isLeftToUs ? m_x.atom("UTF8_STRING") : target, std::move(bytes));
    return true;
}

bool SelectionServer::convertMultiple(const Selection& selection, xcb_window_t requestor, xcb_atom_t property) {
    auto pairs = m_x.numbers(requestor, property); // target, property, target, property, …
    if (pairs.empty())
        return false;
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
        const bool nests = pairs[i] == m_x.atom("MULTIPLE");
        if (nests || !convert(selection, requestor, pairs[i], pairs[i + 1]))
            pairs[i + 1] = XCB_ATOM_NONE;
    }
    m_x.setNumbers(requestor, property, m_x.atom("ATOM_PAIR"), pairs);
    return true;
}

std::vector<xcb_atom_t> SelectionServer::textTargets() {
    std::vector<xcb_atom_t> targets{m_x.atom("UTF8_STRING"), m_x.atom("text/plain;charset=utf-8"), m_x.atom("TEXT"),
                                    m_x.atom("text/plain")};
    if (m_latin)
        targets.push_back(XCB_ATOM_STRING);
    return targets;
}

std::vector<xcb_atom_t> SelectionServer::targets() {
    auto targets = textTargets();
    for (const char* name : {"TARGETS", "TIMESTAMP", "MULTIPLE"})
        targets.push_back(m_x.atom(name));
    if (m_offer.transient)
        targets.push_back(m_x.atom("x-kde-passwordManagerHint"));
    return targets;
}

std::shared_ptr<const std::string> SelectionServer::bytesFor(xcb_atom_t target) {
    if (target == XCB_ATOM_STRING)
        return m_latin;
    // What clipboard managers agreed on for a text that is not to be kept.
    if (target == m_x.atom("x-kde-passwordManagerHint"))
        return m_offer.transient ? std::make_shared<const std::string>("secret") : nullptr;
    const auto known = textTargets();
    return std::find(known.begin(), known.end(), target) != known.end() ? m_text : nullptr;
}

std::size_t SelectionServer::pieceSize() const {
    constexpr std::size_t headroom = 128, comfortable = 256 * 1024; // bytes; larger pieces would hold up other clients
    return std::min(xcb_get_maximum_request_length(m_x.get()) * std::size_t{4} - headroom, comfortable);
}

void SelectionServer::send(xcb_window_t requestor, xcb_atom_t property, xcb_atom_t target,
                           std::shared_ptr<const std::string> bytes) {
    endTransfers(requestor, property);
    if (bytes->size() <= pieceSize()) {
        m_x.setBytes(requestor, property, target, *bytes);
        return;
    }
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_x.get(), requestor, XCB_CW_EVENT_MASK, &events);
    m_x.setNumbers(requestor, property, m_x.atom("INCR"), {static_cast<std::uint32_t>(bytes->size())});
    m_transfers.push_back({requestor, property, target, std::move(bytes), 0, Clock::now()});
}

void SelectionServer::sendNextPiece(xcb_window_t requestor, xcb_atom_t property) {
    const auto transfer = std::find_if(m_transfers.begin(), m_transfers.end(), [&](const Transfer& each) {
        return each.requestor == requestor && each.property == property;
    });
    if (transfer == m_transfers.end())
        return;
    const auto piece = std::string_view(*transfer->bytes).substr(transfer->sent, pieceSize());
    m_x.setBytes(requestor, property, transfer->target, piece);
    transfer->sent += piece.size();
    transfer->lastFetch = Clock::now();
    // The end is an empty piece.
    if (piece.empty())
        endTransfers(requestor, property);
}

void SelectionServer::endTransfers(xcb_window_t requestor, xcb_atom_t property) {
    const auto isThis = [&](const Transfer& each) { return each.requestor == requestor && each.property == property; };
    if (std::erase_if(m_transfers, isThis) == 0)
        return;
    const auto isElsewhere = [&](const Transfer& each) { return each.requestor == requestor; };
    if (std::none_of(m_transfers.begin(), m_transfers.end(), isElsewhere)) {
        const std::uint32_t nothing = XCB_EVENT_MASK_NO_EVENT;
        xcb_change_window_attributes(m_x.get(), requestor, XCB_CW_EVENT_MASK, &nothing);
    }
}

} // namespace fenlo
