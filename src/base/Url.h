#pragma once

#include <string>
#include <string_view>

namespace fenlo::url {

/// The text with every byte as %XX except letters, digits, "-._~" and those of `plain`.
std::string percentEncode(std::string_view text, std::string_view plain);

} // namespace fenlo::url
