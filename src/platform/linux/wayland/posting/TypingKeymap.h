#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo {

/// A keyboard on which every character of a text has a key of its own, so that it can be typed whatever the session's
/// layout is. Letters of the American layout keep their places, for programs that look at the place of a key too.
struct TypingKeymap {
    std::string keymap;                 // as the compositor reads it
    std::vector<std::uint32_t> strokes; // the kernel's key codes, one a character

    /// One keyboard after the other for a text with many different characters. Empty when the text cannot be typed: it
    /// has a control character (a line break would send a message) or is no valid UTF-8.
    static std::vector<TypingKeymap> forText(std::string_view text);

    /// Whether a keymap, also one that the compositor has written anew, is of this kind.
    static bool isOne(std::string_view keymap);
};

} // namespace fenlo
