#pragma once

#include "media/SpeechRate.h"

#include <cmath>

namespace fenlo::whisper {

inline constexpr int sampleRate = speechRate; // of everything in the engine

/// A time token, like a frame of the encoder, stands for two hundredths of a second.
inline constexpr float secondsPerTimeToken = 0.02f;
inline constexpr int samplesPerTimeToken = 320;
inline constexpr int mostTimeTokens = 1500; // thirty seconds, the longest window

inline float secondsAt(int sample) {
    return static_cast<float>(static_cast<double>(sample) / sampleRate);
}

inline int sampleAt(float seconds) {
    return static_cast<int>(std::lround(static_cast<double>(seconds) * sampleRate));
}

} // namespace fenlo::whisper
