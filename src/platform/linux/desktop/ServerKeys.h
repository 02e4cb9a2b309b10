#pragma once

#include "platform/linux/desktop/KeyboardMap.h"

#include <X11/Xlib.h>
#include <array>

namespace fenlo {

/// The keys that the server holds down at this moment, those of all keyboards together.
class ServerKeys {
public:
    explicit ServerKeys(Display* display) { XQueryKeymap(display, m_bits.data()); }

    bool isDown(KeyboardMap::XKey key) const { return m_bits[key / 8] >> (key % 8) & 1; }

private:
    std::array<char, 32> m_bits{}; // one bit a key
};

} // namespace fenlo
