#include "platform/linux/desktop/keys/TypedText.h"

#include "platform/linux/desktop/keys/KeyboardDescription.h"

#include <X11/XKBlib.h>
#include <X11/keysym.h>
#include <map>
#include <memory>
#include <unicode/utf8.h>
#include <xkbcommon/xkbcommon.h>

namespace fenlo {

namespace {

using Keys = std::map<char32_t, TypedText::Stroke>;

/// For each character the key that types it with the fewest modifiers.
Keys keysOf(Display* display, const XkbStateRec& state, unsigned levelThreeMask) {
    Keys keys;
    const KeyboardDescription keyboard = describeKeyboard(display);
    if (!keyboard)
        return keys;
    for (const bool levelThree : {false, true}) {
        for (const bool shift : {false, true}) {
            const unsigned held = (shift ? unsigned{ShiftMask} : 0u) | (levelThree ? levelThreeMask : 0u);
            const unsigned modifiers = XkbBuildCoreState(state.locked_mods | held, state.group);
            for (unsigned code = keyboard->min_key_code; code <= keyboard->max_key_code; ++code) {
                unsigned unused = 0;
                KeySym symbol = NoSymbol;
                const auto key = static_cast<TypedText::XKey>(code);
                if (XkbTranslateKeyCode(keyboard.get(), key, modifiers, &unused, &symbol))
                    keys.try_emplace(xkb_keysym_to_utf32(static_cast<xkb_keysym_t>(symbol)),
                                     TypedText::Stroke{key, shift, levelThree});
            }
        }
        if (levelThreeMask == 0)
            break;
    }
    return keys;
}

} // namespace

std::optional<TypedText> TypedText::find(Display* display, std::string_view text) {
    XkbStateRec state{};
    XkbGetState(display, XkbUseCoreKbd, &state);
    TypedText typed;
    typed.shiftKey = XKeysymToKeycode(display, XK_Shift_L);
    typed.levelThreeKey = XKeysymToKeycode(display, XK_ISO_Level3_Shift);
    const Keys keys = keysOf(display, state, XkbKeysymToModifiers(display, XK_ISO_Level3_Shift));
    const auto size = static_cast<std::int32_t>(text.size());
    for (std::int32_t at = 0; at < size;) {
        UChar32 character = 0; // negative for invalid UTF-8
        U8_NEXT(text.data(), at, size, character);
        const auto found = keys.find(static_cast<char32_t>(character));
        const bool isControl = character < ' ' || (character >= 0x7F && character < 0xA0);
        if (found == keys.end() || isControl || (found->second.shift && !typed.shiftKey) ||
            (found->second.levelThree && !typed.levelThreeKey))
            return std::nullopt;
        typed.strokes.push_back(found->second);
    }
    return typed;
}

} // namespace fenlo
