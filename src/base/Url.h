#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fenlo::url {

/// The text with every byte as %XX except letters, digits, "-._~" and those of `plain`.
std::string percentEncode(std::string_view text, std::string_view plain);

/// The text that was encoded; nothing when an escape is broken or the bytes are no UTF-8.
std::optional<std::string> percentDecode(std::string_view text);

/// Scheme, host and port of an http or https address, in lower case; empty for other schemes and for addresses with a
/// user name.
std::string originOf(std::string_view url);

/// The address that a redirect or link leads to, relative to the address it came from; empty when it is not http or
/// https.
std::string resolveAddress(std::string_view base, std::string_view reference);

} // namespace fenlo::url
