#include "platform/linux/desktop/keys/KeyboardMap.h"

#include "platform/KeyCodes.h"
#include "platform/linux/desktop/keys/KeyboardDescription.h"
#include "platform/linux/desktop/keys/PortKeys.h"

#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <algorithm>
#include <memory>

namespace fenlo {

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
    const auto keys = portKeys();
    const bool isOurModifier =
        std::any_of(keys.begin(), keys.end(), [&](const PortKey& key) { return key.symbol == symbol && key.flag; });
    if (isOurModifier || symbol == XK_Hyper_L || symbol == XK_Hyper_R || symbol == XK_ISO_Level5_Shift)
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
        for (const PortKey& row : portKeys())
            if (row.symbol == plain && key.portCode == key::other)
                key.portCode = row.portCode;
    }
}

std::optional<KeyboardMap::XKey> KeyboardMap::find(std::uint16_t portCode, unsigned group) const {
    for (const PortKey& row : portKeys())
        if (row.portCode == portCode)
            if (const auto found = findSymbol(row.symbol, group))
                return found;
    return std::nullopt;
}

std::optional<KeyboardMap::XKey> KeyboardMap::atUsualPlace(std::uint16_t portCode) const {
    for (const PortKey& row : portKeys())
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

} // namespace fenlo
