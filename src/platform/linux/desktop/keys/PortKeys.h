#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace fenlo {

inline constexpr std::uint32_t xkbOffset = 8; // from the kernel's key codes to XKB's

/// A key of the ports as the X Window System and XKB know it; some have several symbols.
struct PortKey {
    std::uint16_t portCode;
    std::uint32_t symbol;   // the keysym that it types without modifiers
    std::uint64_t flag;     // of a modifier, else 0
    std::string_view place; // of the key on keyboards whose layout lacks the letter, such as "AB04"
};

/// What a key of a keyboard means to the ports.
struct KeyMeaning {
    std::uint16_t portCode;
    bool isTyped; // it types or moves something: no modifier, no lock, no media key
};

/// All keys of namespace key that have a name.
std::span<const PortKey> portKeys();

/// The mask of a modifier's port code; 0 for other keys.
std::uint64_t flagOf(std::uint16_t portCode);

struct KeyChord {
    std::uint16_t portCode;
    std::uint64_t flags;
    bool operator==(const KeyChord&) const = default;

    /// With Control in the place of Command.
    KeyChord onThisDesktop() const;
    /// A shortcut with the same effect for keyboards without Latin letters. Shift-Insert pastes in windows and
    /// terminals; some terminals take Control-Shift-Insert too, others type an escape sequence for it.
    std::optional<KeyChord> withoutLetters() const;
};

} // namespace fenlo
