#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fenlo {

/// Base64 for URLs, without padding (RFC 4648, section 5).
std::string encodeBase64Url(std::string_view bytes);

/// Standard Base64 with its padding (RFC 4648, section 4); nothing when the text is no such encoding.
std::optional<std::string> decodeBase64(std::string_view text);

} // namespace fenlo
