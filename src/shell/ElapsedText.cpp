#include "shell/ElapsedText.h"

#include <cstdint>

namespace fenlo {

std::string elapsedText(double seconds) {
    const auto whole = static_cast<std::int64_t>(seconds);
    const std::string rest = std::to_string(whole % 60);
    return std::to_string(whole / 60) + (rest.size() < 2 ? ":0" : ":") + rest;
}

} // namespace fenlo
