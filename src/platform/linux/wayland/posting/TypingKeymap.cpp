#include "platform/linux/wayland/posting/TypingKeymap.h"

#include "platform/linux/desktop/keys/PortKeys.h"

#include <fmt/format.h>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <unicode/utf8.h>

namespace fenlo {

namespace {

/// The keys that type characters on every keyboard, by the character of the American layout.
struct Row {
    std::uint32_t first; // key code
    std::string_view characters;
};
constexpr Row rows[] = {
    {2, "1234567890-="}, {16, "qwertyuiop[]"}, {30, "asdfghjkl;'`"}, {43, "\\zxcvbnm,./"}, {57, " "}};
/// Codes above the usual keys, to which programs give no meaning of their own. XKB has none above 255.
constexpr std::uint32_t spareFirst = 195, spareLast = 247;

using Keys = std::map<char32_t, std::uint32_t>;

std::uint32_t usualKey(char32_t character) {
    for (const Row& row : rows)
        if (const auto at = character < 0x80 ? row.characters.find(static_cast<char>(character)) : row.characters.npos;
            at != row.characters.npos)
            return row.first + static_cast<std::uint32_t>(at);
    return 0;
}

/// The next key without a character; 0 when all have one. The keys of letters come first.
std::uint32_t freeKey(const std::set<std::uint32_t>& taken) {
    for (const Row& row : rows)
        for (std::uint32_t i = 0; i < row.characters.size() && row.characters != " "; ++i)
            if (!taken.contains(row.first + i))
                return row.first + i;
    for (std::uint32_t code = spareFirst; code <= spareLast; ++code)
        if (!taken.contains(code))
            return code;
    return 0;
}

std::string keymapOf(const Keys& keys) {
    std::string codes, symbols;
    for (const auto& [character, code] : keys) {
        fmt::format_to(std::back_inserter(codes), "<K{0}> = {1};\n", code, code + xkbOffset);
        fmt::format_to(std::back_inserter(symbols), "key <K{}> {{ type = \"ONE_LEVEL\", [ U{:04X} ] }};\n", code,
                       static_cast<std::uint32_t>(character));
    }
    // The X server of the session refuses a keymap without the usual types.
    return fmt::format("xkb_keymap {{\n"
                       "xkb_keycodes \"fenlo\" {{\nminimum = 8;\nmaximum = 255;\n{}}};\n"
                       "xkb_types \"fenlo\" {{ include \"complete\" }};\n"
                       "xkb_compatibility \"fenlo\" {{ include \"complete\" }};\n"
                       "xkb_symbols \"fenlo\" {{\n{}}};\n}};\n",
                       codes, symbols);
}

std::optional<std::u32string> charactersOf(std::string_view text) {
    std::u32string characters;
    const auto size = static_cast<std::int32_t>(text.size());
    for (std::int32_t at = 0; at < size;) {
        UChar32 character = 0; // negative for invalid UTF-8
        U8_NEXT(text.data(), at, size, character);
        if (character < ' ' || (character >= 0x7F && character < 0xA0))
            return std::nullopt;
        characters += static_cast<char32_t>(character);
    }
    return characters;
}

/// The keys of as many characters as one keyboard has room for.
Keys keysFor(std::u32string_view characters) {
    Keys keys;
    std::set<std::uint32_t> taken;
    const auto put = [&](char32_t character, std::uint32_t code) {
        keys.emplace(character, code);
        taken.insert(code);
    };
    for (const char32_t character : characters)
        if (const std::uint32_t code = usualKey(character); code && !keys.contains(character))
            put(character, code);
    for (const char32_t character : characters) {
        if (keys.contains(character))
            continue;
        const std::uint32_t code = freeKey(taken);
        if (!code)
            break;
        put(character, code);
    }
    return keys;
}

} // namespace

std::vector<TypingKeymap> TypingKeymap::forText(std::string_view text) {
    const auto characters = charactersOf(text);
    std::vector<TypingKeymap> keyboards;
    for (std::u32string_view rest = characters ? std::u32string_view(*characters) : U""; !rest.empty();) {
        const Keys keys = keysFor(rest);
        TypingKeymap& keyboard = keyboards.emplace_back(TypingKeymap{keymapOf(keys), {}});
        std::size_t typed = 0;
        for (; typed < rest.size(); ++typed) {
            const auto key = keys.find(rest[typed]);
            if (key == keys.end())
                break;
            keyboard.strokes.push_back(key->second);
        }
        rest.remove_prefix(typed);
    }
    return keyboards;
}

bool TypingKeymap::isOne(std::string_view keymap) {
    return keymap.find("xkb_keycodes \"fenlo\"") != keymap.npos;
}

} // namespace fenlo
