#pragma once

#include <bit>
#include <cstdint>

namespace fenlo::whisper {

/// IEEE 754 binary16. The bits, moved into a 32-bit float, are the number divided by 2^112, subnormal ones too.
inline float floatFromHalf(std::uint16_t half) {
    const std::uint32_t sign = static_cast<std::uint32_t>(half & 0x8000u) << 16;
    const std::uint32_t magnitude = static_cast<std::uint32_t>(half & 0x7FFFu) << 13;
    const float scaled = std::bit_cast<float>(magnitude) * 0x1p112f;
    const std::uint32_t special = magnitude >= 0x0F800000u ? 0x7F800000u : 0u; // infinity and NaN
    return std::bit_cast<float>(std::bit_cast<std::uint32_t>(scaled) | special | sign);
}

/// The upper half of a 32-bit float.
inline float floatFromBrainHalf(std::uint16_t half) {
    return std::bit_cast<float>(static_cast<std::uint32_t>(half) << 16);
}

} // namespace fenlo::whisper
