#pragma once

#include "platform/linux/desktop/keys/PortKeys.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

typedef struct _XDisplay Display;

namespace fenlo {

/// The server's keyboard layout in the vocabulary of the ports.
///
/// Units: an X key is the server's key code (8 to 255), a group is one of up to four layouts the user switches between.
class KeyboardMap {
public:
    using XKey = std::uint8_t;

    /// An empty map; no key has a meaning.
    KeyboardMap() = default;
    /// Asks the server. Empty when it does not answer.
    static KeyboardMap read(Display* display);

    /// One of namespace key.
    std::uint16_t portCode(XKey key) const { return m_keys[key].portCode; }

    /// Whether the key is held to change the meaning of others; locks are switched instead.
    bool isModifier(XKey key) const { return m_keys[key].kind == Kind::modifier; }

    KeyMeaning meaning(XKey key) const { return {portCode(key), m_keys[key].kind == Kind::typed}; }

    /// The key for the port's code in this group; failing that, in another group, as programs do for shortcuts.
    std::optional<XKey> find(std::uint16_t portCode, unsigned group) const;

    /// The key at the place where most keyboards have the letter.
    std::optional<XKey> atUsualPlace(std::uint16_t portCode) const;

private:
    using Symbol = unsigned long;
    enum class Kind { none, modifier, lock, media, typed };

    struct Key {
        std::vector<std::vector<Symbol>> groups; // [group][level]
        std::array<char, 4> place{};             // such as "AB04", padded with zeros
        std::uint16_t portCode = 0xFFFF;
        Kind kind = Kind::none;
    };

    static Kind kindOf(Symbol symbol);
    void classify(Key& key);
    std::optional<XKey> findSymbol(Symbol symbol, unsigned group) const;
    std::optional<XKey> findPlace(std::string_view place) const;

    std::array<Key, 256> m_keys;
};

/// The keys that the server holds down at this moment, on all keyboards together.
class ServerKeys {
public:
    explicit ServerKeys(Display* display);

    bool isDown(KeyboardMap::XKey key) const { return m_bits[key / 8] >> (key % 8) & 1; }

private:
    std::array<char, 32> m_bits{}; // one bit a key
};

} // namespace fenlo
