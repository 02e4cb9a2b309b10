#pragma once

#include <string_view>

namespace fenlo::whisper {

class Logging;

/// Bytes of the text over its bytes when deflated: high for a text that goes round in circles. 1 when it cannot be
/// told.
float compressionRatio(std::string_view text, const Logging& logging);

/// The nearest value that a 16-bit float (IEEE 754 binary16) holds, ties to even.
float throughHalf(float value);

} // namespace fenlo::whisper
