#include "platform/linux/desktop/keys/HeldKeys.h"

namespace fenlo {

void HeldKeys::press(Key key, KeyMeaning meaning) {
    if (const auto held = m_held.find(key); held != m_held.end()) {
        if (!held->second.lifted)
            return;
        // A lifted key cannot repeat: its release was missed.
        release(key);
    }
    m_held[key] = {meaning.portCode};
    if (flagOf(meaning.portCode))
        m_sink.onFlagsChanged({flags(), meaning.portCode});
    else if (meaning.isTyped)
        m_sink.onKeyDown(meaning.portCode);
}

void HeldKeys::release(Key key) {
    const auto held = m_held.find(key);
    if (held == m_held.end())
        return;
    const std::uint16_t portCode = held->second.portCode;
    m_held.erase(held);
    if (flagOf(portCode))
        m_sink.onFlagsChanged({flags(), portCode});
}

void HeldKeys::lift(Key key) {
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
