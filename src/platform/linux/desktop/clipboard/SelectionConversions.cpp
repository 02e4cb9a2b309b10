#include "platform/linux/desktop/clipboard/SelectionConversions.h"

#include <algorithm>

namespace fenlo {

std::shared_ptr<const SelectionConversion> SelectionConversions::start(xcb_atom_t selection, xcb_atom_t target,
                                                                       xcb_timestamp_t time) {
    std::erase_if(m_conversions, [](const auto& each) { return each.expired(); });
    const xcb_atom_t property = freeProperty();
    const auto conversion = std::make_shared<Conversion>(Conversion{selection, target, property, time, {}, {}});
    m_conversions.push_back(conversion);
    xcb_delete_property(m_x.get(), m_window, property);
    xcb_convert_selection(m_x.get(), m_window, selection, target, property, time);
    xcb_flush(m_x.get());
    return conversion;
}

void SelectionConversions::handle(const xcb_generic_event_t& event) {
    if (const auto* answer = eventAs<xcb_selection_notify_event_t>(event, XCB_SELECTION_NOTIFY)) {
        if (answer->requestor == m_window)
            take(*answer);
    } else if (const auto* changed = eventAs<xcb_property_notify_event_t>(event, XCB_PROPERTY_NOTIFY);
               changed && changed->window == m_window && changed->state == XCB_PROPERTY_NEW_VALUE) {
        const auto conversion = find([&](const Conversion& each) {
            return each.state == Conversion::State::arriving && each.property == changed->atom;
        });
        if (conversion)
            takePiece(*conversion);
    }
}

template <typename Matches>
std::shared_ptr<SelectionConversion> SelectionConversions::find(Matches&& matches) {
    for (const auto& each : m_conversions)
        if (auto conversion = each.lock(); conversion && matches(*conversion))
            return conversion;
    return nullptr;
}

xcb_atom_t SelectionConversions::freeProperty() {
    // By the time a number is used again, a late answer to its earlier use has long arrived.
    constexpr unsigned propertyCount = 64;
    for (;;) {
        const xcb_atom_t property = m_x.atom("_FENLO_READ_" + std::to_string(m_started++ % propertyCount));
        const bool isUsed =
            find([&](const Conversion& each) { return each.isOpen() && each.property == property; }) != nullptr;
        if (!isUsed || m_conversions.size() >= propertyCount)
            return property;
    }
}

void SelectionConversions::take(const xcb_selection_notify_event_t& answer) {
    const auto conversion = find([&](const Conversion& each) {
        return each.state == Conversion::State::asked && each.selection == answer.selection &&
               each.target == answer.target && each.time == answer.time &&
               (answer.property == each.property || answer.property == XCB_ATOM_NONE);
    });
    if (!conversion) {
        if (answer.property != XCB_ATOM_NONE)
            xcb_delete_property(m_x.get(), m_window, answer.property);
        return;
    }
    conversion->state = Conversion::State::failed;
    if (answer.property == XCB_ATOM_NONE)
        return;
    auto content = m_x.property(m_window, conversion->property, true);
    if (content && content->type == m_x.atom("INCR")) {
        conversion->state = Conversion::State::arriving;
    } else if (content && content->bytes.size() <= largest) {
        conversion->content = std::move(*content);
        conversion->state = Conversion::State::done;
    }
}

void SelectionConversions::takePiece(Conversion& conversion) {
    const auto piece = m_x.property(m_window, conversion.property, true);
    if (!piece)
        return; // already fetched with the piece before
    conversion.content.type = piece->type;
    conversion.content.format = piece->format;
    conversion.content.bytes += piece->bytes;
    if (piece->bytes.empty())
        conversion.state = Conversion::State::done;
    else if (conversion.content.bytes.size() > largest)
        conversion.state = Conversion::State::failed;
}

} // namespace fenlo
