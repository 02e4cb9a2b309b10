#include "platform/linux/desktop/keys/PortKeys.h"

#include "platform/KeyCodes.h"

#include <algorithm>
#include <xkbcommon/xkbcommon-keysyms.h>

namespace fenlo {

namespace {

constexpr std::uint32_t fnSymbol = 0x100811D0; // XF86Fn; the headers name it by a macro that they do not define

constexpr PortKey table[] = {
    {key::a, XKB_KEY_a, 0, "AC01"},
    {key::x, XKB_KEY_x, 0, "AB02"},
    {key::c, XKB_KEY_c, 0, "AB03"},
    {key::v, XKB_KEY_v, 0, "AB04"},
    {key::space, XKB_KEY_space, 0, ""},
    {key::insert, XKB_KEY_Insert, 0, ""},
    {key::arrowLeft, XKB_KEY_Left, 0, ""},
    {key::controlLeft, XKB_KEY_Control_L, mask::control, ""},
    {key::controlRight, XKB_KEY_Control_R, mask::control, ""},
    {key::shiftLeft, XKB_KEY_Shift_L, mask::shift, ""},
    {key::shiftRight, XKB_KEY_Shift_R, mask::shift, ""},
    {key::commandLeft, XKB_KEY_Super_L, mask::command, ""},
    {key::commandLeft, XKB_KEY_Meta_L, mask::command, ""},
    {key::commandRight, XKB_KEY_Super_R, mask::command, ""},
    {key::commandRight, XKB_KEY_Meta_R, mask::command, ""},
    {key::optionLeft, XKB_KEY_Alt_L, mask::option, ""},
    {key::optionRight, XKB_KEY_Alt_R, mask::option, ""},
    {key::optionRight, XKB_KEY_ISO_Level3_Shift, mask::option, ""},
    {key::function, fnSymbol, mask::function, ""},
};

struct Substitute {
    KeyChord meant, posted;
};

constexpr Substitute substitutes[] = {
    {{key::v, mask::control}, {key::insert, mask::shift}},
    {{key::v, mask::control | mask::shift}, {key::insert, mask::shift}},
    {{key::c, mask::control}, {key::insert, mask::control}},
};

} // namespace

std::span<const PortKey> portKeys() {
    return table;
}

std::uint64_t flagOf(std::uint16_t portCode) {
    const auto* const found = std::find_if(std::begin(table), std::end(table),
                                           [&](const PortKey& each) { return each.portCode == portCode; });
    return found != std::end(table) ? found->flag : 0;
}

KeyChord KeyChord::onThisDesktop() const {
    return {portCode, flags & mask::command ? (flags & ~mask::command) | mask::control : flags};
}

std::optional<KeyChord> KeyChord::withoutLetters() const {
    const auto* const found = std::find_if(std::begin(substitutes), std::end(substitutes),
                                           [&](const Substitute& each) { return each.meant == *this; });
    return found != std::end(substitutes) ? std::optional(found->posted) : std::nullopt;
}

} // namespace fenlo
