#include "base/Url.h"

#include "base/Text.h"

#include <algorithm>
#include <charconv>

namespace fenlo::url {

namespace {

bool isUnreserved(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~';
}

/// The length of "https://host:port" at the start of an address.
std::size_t originLength(std::string_view url) {
    const std::size_t scheme = url.find("://");
    if (scheme == std::string_view::npos)
        return 0;
    return std::min(url.find_first_of("/?#\\", scheme + 3), url.size());
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

std::string originOf(std::string_view url) {
    const std::string origin = text::lower(url.substr(0, originLength(url)));
    const bool isWeb =
        (origin.starts_with("http://") && origin.size() > 7) || (origin.starts_with("https://") && origin.size() > 8);
    return isWeb && origin.find('@') == std::string::npos ? origin : "";
}

std::string resolveAddress(std::string_view base, std::string_view reference) {
    reference = reference.substr(0, reference.find('#'));
    const std::string origin = originOf(base);
    if (origin.empty() || reference.empty())
        return {};
    if (!originOf(reference).empty())
        return std::string(reference);
    if (reference.find("://") < reference.find_first_of("/?"))
        return {}; // another scheme, or a user in the address
    if (reference.starts_with("//"))
        return resolveAddress(base, origin.substr(0, origin.find(':') + 1) + std::string(reference));
    if (reference.front() == '/')
        return origin + std::string(reference);
    std::string_view path = base.substr(originLength(base));
    path = path.substr(0, path.find_first_of("?#"));
    if (reference.front() != '?')
        path = path.substr(0, path.rfind('/') + 1);
    return origin + (path.empty() ? "/" : std::string(path)) + std::string(reference);
}

} // namespace fenlo::url
