#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fenlo {

/// ISO 8859-1, the text encoding of old X programs. Nothing when the text has other characters.
std::optional<std::string> latin1FromUtf8(std::string_view text);

std::string utf8FromLatin1(std::string_view bytes);

} // namespace fenlo
