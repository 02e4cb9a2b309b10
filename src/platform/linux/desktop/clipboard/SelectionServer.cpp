#include "platform/linux/desktop/clipboard/SelectionServer.h"

#include "platform/linux/desktop/clipboard/ClipboardForms.h"
#include "platform/linux/desktop/clipboard/Latin1.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace fenlo {

namespace {

constexpr auto stallLimit = std::chrono::seconds(10); // for one piece; a slower reader counts as gone

} // namespace

void SelectionServer::offer(xcb_atom_t selection, SelectionContents contents, Stay stay, xcb_timestamp_t time) {
    auto latin = contents.text ? latin1FromUtf8(*contents.text) : std::nullopt;
    xcb_set_selection_owner(m_x.get(), m_window, selection, time);
    m_selections.at(selection) = {true, time, std::make_shared<const SelectionContents>(std::move(contents)),
                                  latin ? std::make_shared<const std::string>(std::move(*latin)) : nullptr, stay};
}

void SelectionServer::clear(xcb_atom_t selection, xcb_timestamp_t time) {
    xcb_set_selection_owner(m_x.get(), XCB_WINDOW_NONE, selection, time);
    m_selections.at(selection) = {};
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
    const auto lost = m_selections.find(cleared.selection);
    // Older than our taking of the selection: it says nothing about now.
    if (lost != m_selections.end() && static_cast<std::int32_t>(cleared.time - lost->second.since) >= 0)
        lost->second = {};
}

bool SelectionServer::dropStalled(Clock::time_point now) {
    std::erase_if(m_transfers, [&](const Transfer& transfer) { return now - transfer.lastFetch > stallLimit; });
    return !m_transfers.empty();
}

void SelectionServer::answer(const xcb_selection_request_event_t& request) {
    // Old programs leave the choice of the property to the owner.
    const xcb_atom_t property = request.property != XCB_ATOM_NONE ? request.property : request.target;
    const auto asked = m_selections.find(request.selection);
    const bool isDone = asked != m_selections.end() && asked->second.isOwned &&
                        convert(asked->second, request.requestor, request.target, property);
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
        auto targets = contentTargets(selection);
        for (const char* name : {"TARGETS", "TIMESTAMP", "MULTIPLE"})
            targets.push_back(m_x.atom(name));
        m_x.setNumbers(requestor, property, XCB_ATOM_ATOM, targets);
        return true;
    }
    if (target == m_x.atom("TIMESTAMP")) {
        m_x.setNumbers(requestor, property, XCB_ATOM_INTEGER, {selection.since});
        return true;
    }
    auto answer = answerFor(selection, target);
    if (answer)
        send(requestor, property, std::move(*answer));
    return answer.has_value();
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
    return {m_x.atom("UTF8_STRING"), m_x.atom("text/plain;charset=utf-8"), m_x.atom("TEXT"), m_x.atom("text/plain")};
}

std::vector<xcb_atom_t> SelectionServer::contentTargets(const Selection& selection) {
    auto targets = selection.contents->text ? textTargets() : std::vector<xcb_atom_t>();
    if (selection.latin)
        targets.push_back(XCB_ATOM_STRING);
    if (selection.stay == Stay::onLoan)
        targets.push_back(m_x.atom(clipboard::secretName));
    for (const auto& form : selection.contents->forms)
        targets.push_back(form.target);
    return targets;
}

std::optional<SelectionServer::Answer> SelectionServer::answerFor(const Selection& selection, xcb_atom_t target) {
    const auto& contents = selection.contents;
    for (const auto& form : contents->forms)
        if (form.target == target)
            return Answer{form.content->type, {form.content, &form.content->bytes}, form.content->format};
    if (selection.stay == Stay::onLoan && target == m_x.atom(clipboard::secretName))
        return Answer{target, std::make_shared<const std::string>(clipboard::secretValue)};
    if (selection.latin && target == XCB_ATOM_STRING)
        return Answer{target, selection.latin};
    const auto known = textTargets();
    if (!contents->text || std::find(known.begin(), known.end(), target) == known.end())
        return std::nullopt;
    const bool isLeftToUs = target == m_x.atom("TEXT");
    return Answer{isLeftToUs ? m_x.atom("UTF8_STRING") : target, {contents, &*contents->text}};
}

std::size_t SelectionServer::pieceSize() const {
    constexpr std::size_t headroom = 128,
                          comfortable = 256UL * 1024; // bytes; larger pieces would hold up other clients
    return std::min(xcb_get_maximum_request_length(m_x.get()) * std::size_t{4} - headroom, comfortable);
}

void SelectionServer::send(xcb_window_t requestor, xcb_atom_t property, Answer answer) {
    endTransfers(requestor, property);
    if (answer.bytes->size() <= pieceSize()) {
        m_x.setBytes(requestor, property, answer.type, *answer.bytes, answer.format);
        return;
    }
    const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(m_x.get(), requestor, XCB_CW_EVENT_MASK, &events);
    m_x.setNumbers(requestor, property, m_x.atom("INCR"), {static_cast<std::uint32_t>(answer.bytes->size())});
    m_transfers.push_back({requestor, property, std::move(answer), 0, Clock::now()});
}

void SelectionServer::sendNextPiece(xcb_window_t requestor, xcb_atom_t property) {
    const auto transfer = std::find_if(m_transfers.begin(), m_transfers.end(), [&](const Transfer& each) {
        return each.requestor == requestor && each.property == property;
    });
    if (transfer == m_transfers.end())
        return;
    const Answer& answer = transfer->answer;
    const auto piece = std::string_view(*answer.bytes).substr(transfer->sent, pieceSize());
    m_x.setBytes(requestor, property, answer.type, piece, answer.format);
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
