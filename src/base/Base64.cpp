#include "base/Base64.h"

#include "base/OpenSsl.h"

#include <algorithm>

namespace fenlo {

std::string encodeBase64Url(std::string_view bytes) {
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0'); // the library ends it with a NUL
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()), int(bytes.size()));
    text.resize(std::size_t(length));
    std::ranges::replace(text, '+', '-');
    std::ranges::replace(text, '/', '_');
    text.erase(text.find_last_not_of('=') + 1);
    return text;
}

std::optional<std::string> decodeBase64(std::string_view text) {
    const std::size_t padding = text.size() - (text.find_last_not_of('=') + 1);
    if (text.size() % 4 != 0 || padding > 2)
        return std::nullopt;
    std::string bytes(text.size() / 4 * 3, '\0');
    // The library skips blanks and line ends, and takes padding in the middle for zeros.
    if (text.find_first_of(" \t\r\n") != std::string_view::npos ||
        text.substr(0, text.size() - padding).find('=') != std::string_view::npos ||
        EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                        reinterpret_cast<const unsigned char*>(text.data()), int(text.size())) != int(bytes.size()))
        return std::nullopt;
    bytes.resize(bytes.size() - padding);
    return bytes;
}

} // namespace fenlo
