#pragma once

#include "hub/tokenizers/AlignedText.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// The alphabet of byte-level vocabularies: every byte is written as a printable character of its own, so that pieces
/// of any bytes are text. Printable Latin-1 stands for itself, the other bytes are U+0100 and up in order.
namespace fenlo::hub {

/// A step of this type has these settings. "trim_offsets" is for post-processors, which trim the ranges of tokens.
inline const std::vector<std::string_view> byteLevelSettings{"add_prefix_space", "trim_offsets", "use_regex"};

/// How many times longer a text can become, with what a Unicode form then makes of the letters.
constexpr double byteLettersGrowth = 4;

/// Writes the letters for the bytes up to `end`.
void writeByteLetters(AlignedTextWriter& writer, std::size_t end);

/// The bytes that the letters stand for; text with a character outside the alphabet stays as it is.
std::string fromByteLetters(const std::string& letters);

} // namespace fenlo::hub
