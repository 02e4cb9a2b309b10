#include "platform/linux/desktop/SelectionReader.h"

#include "base/Text.h"
#include "platform/linux/desktop/Latin1.h"

namespace fenlo {

namespace {

using Clock = ClipboardEvents::Clock;

constexpr std::size_t largestText = 64 * 1024 * 1024; // bytes
constexpr auto longestRead = std::chrono::seconds(5); // for an owner that dribbles
constexpr unsigned propertyCount = 8;                 // so that a late answer is not taken for one to a later question

Clock::time_point after(double seconds) {
    return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

} // namespace

std::optional<std::string> SelectionReader::read(double limit) {
    for (const char* target : {"UTF8_STRING", "text/plain;charset=utf-8", "STRING"}) {
        Answer answer = ask(m_x.atom(target), limit);
        if (!answer.isRefused)
            return std::move(answer.text);
    }
    return std::nullopt;
}

SelectionReader::Answer SelectionReader::ask(xcb_atom_t target, double limit) {
    const xcb_atom_t property = m_x.atom("_FENLO_READ_" + std::to_string(m_attempt++ % propertyCount));
    const xcb_timestamp_t time = m_events.serverTime();
    xcb_delete_property(m_x.get(), m_window, property);
    xcb_convert_selection(m_x.get(), m_window, m_x.atom("CLIPBOARD"), target, property, time);
    const auto isAnswer = [&](const xcb_generic_event_t& event) {
        const auto* const notify = eventAs<xcb_selection_notify_event_t>(event, XCB_SELECTION_NOTIFY);
        return notify && notify->requestor == m_window && notify->target == target && notify->time == time;
    };
    const auto event = m_events.waitFor(isAnswer, after(limit));
    if (!event)
        return {};
    if (reinterpret_cast<const xcb_selection_notify_event_t&>(*event).property == XCB_ATOM_NONE)
        return {.isRefused = true, .text = {}};
    auto content = m_x.property(m_window, property, true);
    if (content && content->type == m_x.atom("INCR"))
        content = collect(property, limit);
    return content ? Answer{.isRefused = false, .text = decode(*content)} : Answer{};
}

std::optional<XcbConnection::Property> SelectionReader::collect(xcb_atom_t property, double limit) {
    const auto isPiece = [&](const xcb_generic_event_t& event) {
        const auto* const notify = eventAs<xcb_property_notify_event_t>(event, XCB_PROPERTY_NOTIFY);
        return notify && notify->window == m_window && notify->atom == property &&
               notify->state == XCB_PROPERTY_NEW_VALUE;
    };
    const auto end = Clock::now() + longestRead;
    XcbConnection::Property whole;
    while (whole.bytes.size() <= largestText && Clock::now() < end && m_events.waitFor(isPiece, after(limit))) {
        const auto piece = m_x.property(m_window, property, true);
        if (!piece)
            continue; // already fetched with the piece before
        whole.type = piece->type;
        if (piece->bytes.empty())
            return whole;
        whole.bytes += piece->bytes;
    }
    return std::nullopt;
}

std::string SelectionReader::decode(const XcbConnection::Property& property) const {
    return property.type == XCB_ATOM_STRING ? utf8FromLatin1(property.bytes) : text::repairUtf8(property.bytes);
}

} // namespace fenlo
