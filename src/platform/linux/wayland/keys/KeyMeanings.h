#pragma once

#include "platform/linux/desktop/keys/PortKeys.h"
#include "platform/linux/wayland/keys/KeyStream.h"

#include <array>

namespace fenlo {

class SessionKeymap;

/// What the kernel's keys mean to the ports: modifiers by their place, whatever the layout makes of them, and letters
/// by the layout.
class KeyMeanings {
public:
    /// Letters at their usual places.
    KeyMeanings();
    explicit KeyMeanings(const SessionKeymap& layout);

    KeyMeaning of(std::uint16_t code) const { return m_meanings[code]; }

private:
    std::array<KeyMeaning, KEY_CNT> m_meanings;
};

/// Whether a device with these keys has the modifier.
bool hasModifier(const KeyBits& keys, std::uint16_t portCode);

} // namespace fenlo
