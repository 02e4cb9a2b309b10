#include "platform/linux/desktop/clipboard/SelectionReader.h"

#include "base/Text.h"
#include "platform/linux/desktop/clipboard/Latin1.h"

namespace fenlo {

Pasteboard::Reading SelectionReader::read(Clock::time_point deadline) {
    const xcb_timestamp_t time = m_events.serverTime(deadline);
    for (const char* target : {"UTF8_STRING", "text/plain;charset=utf-8", "STRING"}) {
        const auto answer = m_conversions.start(m_x.atom("CLIPBOARD"), m_x.atom(target), time);
        if (!m_events.waitFor(*answer, deadline))
            return {.text = {}, .isAnswered = false};
        if (answer->state == SelectionConversion::State::done)
            return {.text = textIn(answer->content)};
    }
    return {};
}

std::string textIn(const XcbConnection::Property& property) {
    return property.type == XCB_ATOM_STRING ? utf8FromLatin1(property.bytes) : text::repairUtf8(property.bytes);
}

} // namespace fenlo
