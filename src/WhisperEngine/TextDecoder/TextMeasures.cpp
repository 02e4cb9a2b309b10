#include "WhisperEngine/TextDecoder/TextMeasures.h"

#include "WhisperEngine/Logging.h"

#include <cmath>
#include <limits>
#include <vector>
#include <zlib.h>

namespace fenlo::whisper {

float compressionRatio(std::string_view text, const Logging& logging) {
    if (text.empty())
        return 1;
    uLongf size = ::compressBound(static_cast<uLong>(text.size()));
    std::vector<Bytef> compressed(size);
    const int status = ::compress2(compressed.data(), &size, reinterpret_cast<const Bytef*>(text.data()),
                                   static_cast<uLong>(text.size()), Z_DEFAULT_COMPRESSION);
    if (status != Z_OK) {
        logging.error("Compression error: {}", ::zError(status));
        return 1;
    }
    return static_cast<float>(text.size()) / static_cast<float>(size);
}

float throughHalf(float value) {
    constexpr int mantissaBits = 11; // the hidden one included
    constexpr int smallestExponent = -14;
    constexpr float largest = 65504;
    if (value == 0 || !std::isfinite(value))
        return value;
    int exponent = 0;
    std::frexp(value, &exponent); // value = m * 2^exponent, m in [0.5, 1)
    const int step = std::max(exponent, smallestExponent + 1) - mantissaBits;
    const float rounded = std::ldexp(std::nearbyint(std::ldexp(value, -step)), step);
    return std::abs(rounded) > largest ? std::copysign(std::numeric_limits<float>::infinity(), value) : rounded;
}

} // namespace fenlo::whisper
