#pragma once

#include "audio/voice/PowerSpectrum.h"
#include "audio/voice/VoiceFeatures.h"

#include <span>
#include <vector>

namespace fenlo::voice {

/// spectralCentroid() for many stretches of speech: tables and buffers are used again.
class CentroidFinder {
public:
    CentroidFinder();

    Centroid of(std::span<const float> samples);

private:
    PowerSpectrum m_spectrum;
    std::vector<float> m_frequencies; // hertz, of the values of the spectrum
    std::vector<double> m_centroids;  // hertz, of the frames
};

} // namespace fenlo::voice
