#pragma once

#include <string>
#include <string_view>

/// The alphabet of byte-level vocabularies: every byte is written as a printable character of its own, so that pieces
/// of any bytes are text. Printable Latin-1 stands for itself, the other bytes are U+0100 and up in order.
namespace fenlo::hub {

std::string toByteLetters(std::string_view bytes);

/// The bytes that the letters stand for; text with a character outside the alphabet stays as it is.
std::string fromByteLetters(const std::string& letters);

} // namespace fenlo::hub
