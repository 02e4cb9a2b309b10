#include "base/Url.h"

#include "base/Text.h"

#include <charconv>

namespace fenlo::url {

namespace {

bool isUnreserved(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~';
}

} // namespace

std::string percentEncode(std::string_view text, std::string_view plain) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : text) {
        if (isUnreserved(c) || plain.find(c) != std::string_view::npos) {
            encoded += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        encoded += {'%', digits[byte >> 4u], digits[byte & 15u]};
    }
    return encoded;
}

std::optional<std::string> percentDecode(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            decoded += text[i];
            continue;
        }
        unsigned char byte = 0;
        const char* const digits = text.data() + i + 1;
        if (text.size() - i < 3 || std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2)
            return std::nullopt;
        decoded += char(byte);
        i += 2;
    }
    return text::repairUtf8(decoded) == decoded ? std::optional(decoded) : std::nullopt;
}

} // namespace fenlo::url
