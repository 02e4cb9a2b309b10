#pragma once

#include "audio/voice/PowerSpectrum.h"
#include "audio/voice/VoiceFeatures.h"

#include <array>
#include <optional>
#include <span>
#include <vector>

namespace fenlo::voice {

/// meanMFCC() for many stretches of speech: tables and buffers are used again.
class MfccFinder {
public:
    MfccFinder();

    std::optional<Mfcc> of(std::span<const float> samples);

private:
    static constexpr std::size_t bandCount = 26;

    /// The part of a mel filter that is not zero.
    struct Band {
        std::size_t firstBin = 0;
        std::vector<float> weights;
    };

    void addFrame(std::span<const float> frame, Mfcc& sum);

    PowerSpectrum m_spectrum;
    std::vector<Band> m_bands;
    std::array<std::array<double, bandCount>, mfccCount> m_cosines; // of the DCT
};

} // namespace fenlo::voice
