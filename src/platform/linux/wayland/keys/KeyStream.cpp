#include "platform/linux/wayland/keys/KeyStream.h"

#include <cstring>

namespace fenlo {

void KeyStream::take(std::span<const std::byte> bytes) {
    m_rest.insert(m_rest.end(), bytes.begin(), bytes.end());
    std::size_t taken = 0;
    for (; m_rest.size() - taken >= sizeof(input_event); taken += sizeof(input_event)) {
        input_event event;
        std::memcpy(&event, m_rest.data() + taken, sizeof event);
        handle(event);
    }
    m_rest.erase(m_rest.begin(), m_rest.begin() + static_cast<std::ptrdiff_t>(taken));
}

void KeyStream::handle(const input_event& event) {
    constexpr std::int32_t up = 0, down = 1; // 2 repeats
    if (event.type == EV_SYN && event.code == SYN_DROPPED) {
        m_hasLost = true;
    } else if (m_hasLost) {
        if (event.type != EV_SYN || event.code != SYN_REPORT)
            return;
        m_hasLost = false;
        become(m_sinks.heldNow());
    } else if (event.type == EV_KEY && event.code < KEY_CNT && (event.value == up || event.value == down)) {
        change(event.code, event.value == down);
    }
}

/// Releases come first, so that no chord appears that nobody held.
void KeyStream::become(const KeyBits& held) {
    for (const bool isDown : {false, true})
        for (std::uint16_t code = 0; code < KEY_CNT; ++code)
            if (held[code] == isDown)
                change(code, isDown);
}

void KeyStream::change(std::uint16_t code, bool isDown) {
    if (m_held[code] == isDown)
        return;
    m_held[code] = isDown;
    m_sinks.onChange(code, isDown);
}

} // namespace fenlo
