#include "platform/linux/wayland/posting/SessionKeymap.h"

#include "platform/KeyCodes.h"
#include "platform/linux/desktop/keys/PortKeys.h"

#include <cstdlib>
#include <xkbcommon/xkbcommon.h>

namespace fenlo {

namespace {

using Context = std::unique_ptr<xkb_context, decltype(&xkb_context_unref)>;

/// What is wrong in somebody's keymap does not belong on our standard error.
Context quietContext() {
    Context context(xkb_context_new(XKB_CONTEXT_NO_FLAGS), &xkb_context_unref);
    if (context)
        xkb_context_set_log_level(context.get(), XKB_LOG_LEVEL_CRITICAL);
    return context;
}

struct NamedModifier {
    std::uint64_t flag;
    const char* name;
};

constexpr NamedModifier namedModifiers[] = {
    {mask::shift, XKB_MOD_NAME_SHIFT},
    {mask::control, XKB_MOD_NAME_CTRL},
    {mask::option, XKB_MOD_NAME_ALT},
    {mask::command, XKB_MOD_NAME_LOGO},
};

} // namespace

std::optional<SessionKeymap> SessionKeymap::parse(const std::string& text) {
    const Context context = quietContext();
    if (!context || text.empty())
        return std::nullopt;
    return take(xkb_keymap_new_from_buffer(context.get(), text.data(), text.size(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                           XKB_KEYMAP_COMPILE_NO_FLAGS));
}

std::optional<SessionKeymap> SessionKeymap::american() {
    const Context context = quietContext();
    const xkb_rule_names names{"evdev", "pc105", "us", "", ""};
    return context ? take(xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS)) : std::nullopt;
}

std::optional<SessionKeymap> SessionKeymap::take(xkb_keymap* keymap) {
    const Handle handle(keymap, &xkb_keymap_unref);
    if (!handle)
        return std::nullopt;
    const std::unique_ptr<char, decltype(&std::free)> text(
        xkb_keymap_get_as_string(handle.get(), XKB_KEYMAP_FORMAT_TEXT_V1), &std::free);
    return text ? std::optional(SessionKeymap(handle, text.get())) : std::nullopt;
}

std::optional<SessionKeymap::Key> SessionKeymap::find(std::uint16_t portCode) const {
    const std::uint32_t groups = xkb_keymap_num_layouts(m_keymap.get());
    for (std::uint32_t group = 0; group < groups; ++group)
        for (const PortKey& each : portKeys())
            if (each.portCode == portCode)
                if (const auto code = find(each.symbol, group))
                    return Key{*code, group};
    return std::nullopt;
}

std::optional<std::uint32_t> SessionKeymap::find(std::uint32_t symbol, std::uint32_t group) const {
    const xkb_keycode_t last = xkb_keymap_max_keycode(m_keymap.get());
    for (xkb_keycode_t code = xkb_keymap_min_keycode(m_keymap.get()); code <= last; ++code) {
        const std::uint32_t groups = xkb_keymap_num_layouts_for_key(m_keymap.get(), code);
        if (groups == 0 || code < xkbOffset)
            continue;
        const xkb_keysym_t* symbols = nullptr;
        // A key with fewer groups than the keyboard reuses them in turn.
        const int count = xkb_keymap_key_get_syms_by_level(m_keymap.get(), code, group % groups, 0, &symbols);
        if (count == 1 && symbols[0] == symbol)
            return code - xkbOffset;
    }
    return std::nullopt;
}

bool SessionKeymap::isAmbiguous(std::uint16_t portCode) const {
    const auto first = find(portCode);
    const std::uint32_t groups = xkb_keymap_num_layouts(m_keymap.get());
    for (std::uint32_t group = 0; first && group < groups; ++group)
        for (const PortKey& each : portKeys())
            if (each.portCode == portCode)
                if (const auto code = find(each.symbol, group); code && *code != first->code)
                    return true;
    return false;
}

std::uint32_t SessionKeymap::modifierBits(std::uint64_t flags) const {
    std::uint32_t bits = 0;
    for (const NamedModifier& each : namedModifiers) {
        const xkb_mod_index_t index = xkb_keymap_mod_get_index(m_keymap.get(), each.name);
        if (flags & each.flag && index < 32)
            bits |= 1U << index;
    }
    return bits;
}

} // namespace fenlo
