#include "platform/linux/desktop/keys/KeyboardMap.h"

#include "platform/KeyCodes.h"
#include "platform/linux/desktop/keys/KeyboardDescription.h"

#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <algorithm>
#include <memory>

namespace fenlo {

namespace {

struct Row {
    std::uint16_t portCode;
    KeySym symbol;
    std::uint64_t flag;
    std::string_view place; // of the key on keyboards whose layout lacks the letter
};

constexpr KeySym fnSymbol = 0x100811D0; // XF86Fn; X11 names it by a macro that it does not define

constexpr Row table[] = {
    {key::a, XK_a, 0, "AC01"},
    {key::x, XK_x, 0, "AB02"},
    {key::c, XK_c, 0, "AB03"},
    {key::v, XK_v, 0, "AB04"},
    {key::space, XK_space, 0, ""},
    {key::insert, XK_Insert, 0, ""},
    {key::arrowLeft, XK_Left, 0, ""},
    {key::controlLeft, XK_Control_L, mask::control, ""},
    {key::controlRight, XK_Control_R, mask::control, ""},
    {key::shiftLeft, XK_Shift_L, mask::shift, ""},
    {key::shiftRight, XK_Shift_R, mask::shift, ""},
    {key::commandLeft, XK_Super_L, mask::command, ""},
    {key::commandLeft, XK_Meta_L, mask::command, ""},
    {key::commandRight, XK_Super_R, mask::command, ""},
    {key::commandRight, XK_Meta_R, mask::command, ""},
    {key::optionLeft, XK_Alt_L, mask::option, ""},
    {key::optionRight, XK_Alt_R, mask::option, ""},
    {key::optionRight, XK_ISO_Level3_Shift, mask::option, ""},
    {key::function, fnSymbol, mask::function, ""},
};

} // namespace

KeyboardMap KeyboardMap::read(Display* display) {
    KeyboardMap map;
    const KeyboardDescription keyboard = describeKeyboard(display);
    if (!keyboard)
        return map;
    const bool hasPlaces = XkbGetNames(display, XkbKeyNamesMask, keyboard.get()) == Success && keyboard->names;
    for (unsigned code = keyboard->min_key_code; code <= keyboard->max_key_code; ++code) {
        Key& key = map.m_keys[code];
        if (hasPlaces && keyboard->names->keys)
            std::copy_n(keyboard->names->keys[code].name, key.place.size(), key.place.begin());
        for (unsigned group = 0; group < XkbKeyNumGroups(keyboard, code); ++group) {
            const unsigned width = XkbKeyGroupWidth(keyboard, code, group);
            auto& levels = key.groups.emplace_back();
            for (unsigned level = 0; level < width; ++level)
                levels.push_back(XkbKeySymEntry(keyboard, code, level, group));
        }
        map.classify(key);
    }
    return map;
}

KeyboardMap::Kind KeyboardMap::kindOf(Symbol symbol) {
    const bool isRowModifier = std::any_of(std::begin(table), std::end(table),
                                           [&](const Row& row) { return row.symbol == symbol && row.flag; });
    if (isRowModifier || symbol == XK_Hyper_L || symbol == XK_Hyper_R || symbol == XK_ISO_Level5_Shift)
        return Kind::modifier;
    if (IsModifierKey(symbol))
        return Kind::lock;
    constexpr KeySym firstMedia = 0x10080000, lastMedia = 0x1008FFFF;
    return symbol >= firstMedia && symbol <= lastMedia ? Kind::media : Kind::typed;
}

void KeyboardMap::classify(Key& key) {
    // The first symbol tells what kind of key it is; the port's name for it may stand in any group.
    for (const auto& levels : key.groups) {
        for (const Symbol symbol : levels)
            if (symbol != NoSymbol && key.kind == Kind::none)
                key.kind = kindOf(symbol);
        const Symbol plain = levels.empty() ? Symbol{NoSymbol} : levels.front();
        for (const Row& row : table)
            if (row.symbol == plain && key.portCode == key::other)
                key.portCode = row.portCode;
    }
}

std::optional<KeyboardMap::XKey> KeyboardMap::find(std::uint16_t portCode, unsigned group) const {
    for (const Row& row : table)
        if (row.portCode == portCode)
            if (const auto found = findSymbol(row.symbol, group))
                return found;
    return std::nullopt;
}

std::optional<KeyboardMap::XKey> KeyboardMap::atUsualPlace(std::uint16_t portCode) const {
    for (const Row& row : table)
        if (row.portCode == portCode && !row.place.empty())
            return findPlace(row.place);
    return std::nullopt;
}

std::optional<KeyboardMap::XKey> KeyboardMap::findSymbol(Symbol symbol, unsigned group) const {
    std::optional<XKey> elsewhere;
    for (std::size_t code = 0; code < m_keys.size(); ++code) {
        const auto& groups = m_keys[code].groups;
        for (std::size_t i = 0; i < groups.size(); ++i) {
            if (groups[i].empty() || groups[i].front() != symbol)
                continue;
            // A key with fewer groups than the keyboard reuses them in turn.
            if (i == group % groups.size())
                return static_cast<XKey>(code);
            if (!elsewhere)
                elsewhere = static_cast<XKey>(code);
        }
    }
    return elsewhere;
}

std::optional<KeyboardMap::XKey> KeyboardMap::findPlace(std::string_view place) const {
    for (std::size_t code = 0; code < m_keys.size(); ++code)
        if (place == std::string_view(m_keys[code].place.data(), m_keys[code].place.size()))
            return static_cast<XKey>(code);
    return std::nullopt;
}

ServerKeys::ServerKeys(Display* display) {
    XQueryKeymap(display, m_bits.data());
}

std::uint64_t flagOf(std::uint16_t portCode) {
    for (const Row& row : table)
        if (row.portCode == portCode)
            return row.flag;
    return 0;
}

} // namespace fenlo
