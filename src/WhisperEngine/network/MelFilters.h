#pragma once

#include "WhisperEngine/AudioTime.h"

#include <vector>

/// The constants of Whisper's log-mel features at 16 kHz.
namespace fenlo::whisper::mel {

constexpr int fftSize = 400; // samples
constexpr int hop = 160;     // samples
constexpr int bins = fftSize / 2 + 1;

/// [fftSize], periodic.
std::vector<float> hannWindow();

/// [bands, bins]: triangles on the mel scale of Slaney's Auditory Toolbox from 0 Hz to half the sample rate, each of
/// the same area.
std::vector<float> filters(int bands);

} // namespace fenlo::whisper::mel
