#pragma once

#include <cstdint>

/// The vocabulary of the keyboard ports: virtual key codes and modifier masks, the same on every platform. An adapter
/// maps them to its own keys; `command` is the modifier of the editing shortcuts (Control on Linux).
namespace fenlo::key {

inline constexpr std::uint16_t a = 0;
inline constexpr std::uint16_t x = 7;
inline constexpr std::uint16_t c = 8;
inline constexpr std::uint16_t v = 9;
inline constexpr std::uint16_t space = 49;
inline constexpr std::uint16_t commandLeft = 55;
inline constexpr std::uint16_t shiftLeft = 56;
inline constexpr std::uint16_t controlLeft = 59;
inline constexpr std::uint16_t shiftRight = 60;
inline constexpr std::uint16_t optionRight = 61;
inline constexpr std::uint16_t controlRight = 62;
inline constexpr std::uint16_t function = 63;
inline constexpr std::uint16_t commandRight = 54;
inline constexpr std::uint16_t optionLeft = 58;
inline constexpr std::uint16_t insert = 114;
inline constexpr std::uint16_t arrowLeft = 123;
/// Any key that has no name here.
inline constexpr std::uint16_t other = 0xFFFF;

} // namespace fenlo::key

namespace fenlo::mask {

inline constexpr std::uint64_t shift = 0x20000;
inline constexpr std::uint64_t control = 0x40000;
inline constexpr std::uint64_t option = 0x80000;
inline constexpr std::uint64_t command = 0x100000;
inline constexpr std::uint64_t function = 0x800000;

} // namespace fenlo::mask
