#include "platform/linux/desktop/keys/HeldKeys.h"

namespace fenlo {

void HeldKeys::press(XKey key, const KeyboardMap& map) {
    if (const auto held = m_held.find(key); held != m_held.end()) {
        if (!held->second.lifted)
            return;
        // A lifted key cannot repeat: its release was missed.
        release(key);
    }
    const std::uint16_t portCode = map.portCode(key);
    m_held[key] = {portCode};
    if (flagOf(portCode))
        m_sink.onFlagsChanged({flags(), portCode});
    else if (map.isTyped(key))
        m_sink.onKeyDown(portCode);
}

void HeldKeys::release(XKey key) {
    const auto held = m_held.find(key);
    if (held == m_held.end())
        return;
    const std::uint16_t portCode = held->second.portCode;
    m_held.erase(held);
    if (flagOf(portCode))
        m_sink.onFlagsChanged({flags(), portCode});
}

void HeldKeys::lift(XKey key) {
    if (const auto held = m_held.find(key); held != m_held.end())
        held->second.lifted = true;
}

void HeldKeys::releaseAll() {
    while (!m_held.empty())
        release(m_held.begin()->first);
}

std::uint64_t HeldKeys::flags() const {
    std::uint64_t flags = 0;
    for (const auto& [key, state] : m_held)
        flags |= flagOf(state.portCode);
    return flags;
}

} // namespace fenlo
