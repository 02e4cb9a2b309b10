#pragma once

#include "platform/linux/desktop/keys/KeyboardMap.h"

#include <optional>
#include <string_view>
#include <vector>

typedef struct _XDisplay Display;

namespace fenlo {

/// The keys that type a text in the current layout and with the current state of Caps Lock.
struct TypedText {
    using XKey = KeyboardMap::XKey;

    struct Stroke {
        XKey key;
        bool shift;
        bool levelThree; // AltGr
    };

    std::vector<Stroke> strokes;
    XKey shiftKey = 0, levelThreeKey = 0;

    /// Nothing when a character has no key, or when it is a control character: a line break would send a message.
    static std::optional<TypedText> find(Display* display, std::string_view text);
};

} // namespace fenlo
