#pragma once

#include "audio/voice/PowerSpectrum.h"

#include <array>
#include <cstddef>
#include <span>

namespace fenlo {

inline constexpr std::size_t speakerBandCount = 13;

/// The natural logarithms of a voice's mean power in bands from 0 to 6800 Hz.
using BandProfile = std::array<float, speakerBandCount>;

/// Measures band profiles; tables and buffers are used again.
///
/// Threads: one at a time.
class SpeakerBands {
public:
    SpeakerBands();

    /// Over frames of 1024 samples, hop 512, without the quiet ones; zeros without a frame.
    BandProfile of(std::span<const float> samples, double sampleRate);

private:
    voice::PowerSpectrum m_spectrum;
};

} // namespace fenlo
