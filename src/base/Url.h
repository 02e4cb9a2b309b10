#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fenlo::url {

/// The text with every byte as %XX except letters, digits, "-._~" and those of `plain`.
std::string percentEncode(std::string_view text, std::string_view plain);

/// The text that was encoded; nothing when an escape is broken or the bytes are no UTF-8.
std::optional<std::string> percentDecode(std::string_view text);

} // namespace fenlo::url
