#include "platform/linux/wayland/keys/KeyMeanings.h"

#include "platform/KeyCodes.h"
#include "platform/linux/wayland/posting/SessionKeymap.h"

namespace fenlo {

namespace {

struct Place {
    std::uint16_t code, portCode;
};

constexpr Place modifiers[] = {
    {KEY_LEFTCTRL, key::controlLeft},  {KEY_RIGHTCTRL, key::controlRight}, {KEY_LEFTSHIFT, key::shiftLeft},
    {KEY_RIGHTSHIFT, key::shiftRight}, {KEY_LEFTMETA, key::commandLeft},   {KEY_RIGHTMETA, key::commandRight},
    {KEY_LEFTALT, key::optionLeft},    {KEY_RIGHTALT, key::optionRight},   {KEY_FN, key::function},
};

constexpr Place letters[] = {
    {KEY_A, key::a},
    {KEY_X, key::x},
    {KEY_C, key::c},
    {KEY_V, key::v},
    {KEY_SPACE, key::space},
    {KEY_INSERT, key::insert},
    {KEY_LEFT, key::arrowLeft},
};

struct SymbolRange {
    std::uint16_t first, last;
};

/// The keys that type or move something. The others switch, light up, play or end the computer's day, and are no part
/// of a shortcut that is typed.
constexpr SymbolRange typed[] = {
    {KEY_ESC, KEY_SLASH}, // with Enter, Tab and the letters; modifiers among them come later
    {KEY_KPASTERISK, KEY_KPASTERISK},
    {KEY_SPACE, KEY_SPACE},
    {KEY_F1, KEY_F10},
    {KEY_KP7, KEY_KPDOT},
    {KEY_ZENKAKUHANKAKU, KEY_RO},
    {KEY_F11, KEY_F12},
    {KEY_KATAKANA, KEY_KPJPCOMMA},
    {KEY_KPENTER, KEY_KPENTER},
    {KEY_KPSLASH, KEY_SYSRQ},
    {KEY_LINEFEED, KEY_DELETE},
    {KEY_KPEQUAL, KEY_KPPLUSMINUS},
    {KEY_PAUSE, KEY_PAUSE},
    {KEY_KPCOMMA, KEY_YEN},
    {KEY_COMPOSE, KEY_COMPOSE},
    {KEY_F13, KEY_F24},
};

} // namespace

KeyMeanings::KeyMeanings() {
    m_meanings.fill({key::other, false});
    for (const SymbolRange& range : typed)
        for (std::uint16_t code = range.first; code <= range.last; ++code)
            m_meanings[code].isTyped = true;
    for (const Place& modifier : modifiers)
        m_meanings[modifier.code] = {modifier.portCode, false};
    for (const Place& letter : letters)
        m_meanings[letter.code].portCode = letter.portCode;
}

KeyMeanings::KeyMeanings(const SessionKeymap& layout) : KeyMeanings() {
    for (const Place& letter : letters)
        m_meanings[letter.code].portCode = key::other;
    for (const Place& letter : letters) {
        const auto found = layout.find(letter.portCode);
        if (found && found->code < KEY_CNT && !flagOf(m_meanings[found->code].portCode))
            m_meanings[found->code].portCode = letter.portCode;
        else if (m_meanings[letter.code].portCode == key::other)
            m_meanings[letter.code].portCode = letter.portCode; // a layout without the letter
    }
}

bool hasModifier(const KeyBits& keys, std::uint16_t portCode) {
    for (const Place& modifier : modifiers)
        if (modifier.portCode == portCode && keys[modifier.code])
            return true;
    return false;
}

} // namespace fenlo
