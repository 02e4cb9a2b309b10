#include "base/Url.h"

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

} // namespace fenlo::url
