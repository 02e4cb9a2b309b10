#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace fenlo {

/// Two lower-case digits for each byte.
std::string hexadecimal(std::span<const std::byte> bytes);

} // namespace fenlo
