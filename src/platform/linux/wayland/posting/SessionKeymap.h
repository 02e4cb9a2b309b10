#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct xkb_keymap;

namespace fenlo {

/// The keyboard layout of a session: where its keys are, by their port codes.
///
/// Units: a key code is the kernel's (KEY_A is 30); XKB counts eight more. A group is one of up to four layouts that
/// the
///        user switches between.
class SessionKeymap {
public:
    struct Key {
        std::uint32_t code;
        std::uint32_t group; // in which it types the letter
        bool operator==(const Key&) const = default;
    };

    /// From what the compositor sends. Nothing when it is no keymap.
    static std::optional<SessionKeymap> parse(const std::string& text);
    /// The American layout, for sessions without a keyboard. Nothing where the system has no layouts.
    static std::optional<SessionKeymap> american();

    /// The key that types the port's key without modifiers, in the first group that has one.
    std::optional<Key> find(std::uint16_t portCode) const;
    /// Whether the groups disagree on which key it is, so that its code alone does not tell what it does.
    bool isAmbiguous(std::uint16_t portCode) const;

    /// The modifiers' bits for these flags of namespace mask.
    std::uint32_t modifierBits(std::uint64_t flags) const;
    /// As the compositor reads it.
    const std::string& text() const { return m_text; }

private:
    using Handle = std::shared_ptr<xkb_keymap>;
    SessionKeymap(Handle keymap, std::string text) : m_keymap(std::move(keymap)), m_text(std::move(text)) {}

    static std::optional<SessionKeymap> take(xkb_keymap* keymap);
    std::optional<std::uint32_t> find(std::uint32_t symbol, std::uint32_t group) const;

    Handle m_keymap;
    std::string m_text;
};

} // namespace fenlo
