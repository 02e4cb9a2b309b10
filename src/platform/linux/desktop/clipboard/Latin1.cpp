#include "platform/linux/desktop/clipboard/Latin1.h"

namespace fenlo {

std::optional<std::string> latin1FromUtf8(std::string_view text) {
    std::string latin;
    latin.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80) {
            latin += text[i];
        } else if ((byte == 0xC2 || byte == 0xC3) && i + 1 < text.size()) {
            // Two bytes; the first holds the upper two bits.
            const auto next = static_cast<unsigned char>(text[++i]);
            latin += static_cast<char>((byte & 0x03) << 6 | (next & 0x3F));
        } else {
            return std::nullopt;
        }
    }
    return latin;
}

std::string utf8FromLatin1(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | byte >> 6);
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

} // namespace fenlo
