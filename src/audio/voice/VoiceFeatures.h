#pragma once

#include "media/SpeechRate.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Features that distinguish voices: pitch, energy, spectral centroid and mel-frequency cepstral
/// coefficients. Plain signal processing on mono samples at 16000 Hz; only complete frames count.
///
/// Threads: any; pure.
namespace fenlo::voice {

inline constexpr double sampleRate = speechRate;
inline constexpr std::size_t mfccCount = 13;

using Mfcc = std::array<double, mfccCount>;

/// The pitch in hertz of each voiced frame of 1600 samples, hop 800, by normalised autocorrelation between 60 and 500
/// Hz.
std::vector<double> pitchTrack(std::span<const float> samples);

struct Gender {
    std::string gender;    // "male" or "female"
    double confidence = 0; // 0 to 1
};
/// From the median of the pitches.
Gender genderFrom(std::vector<double> pitches);

/// The RMS of each frame of 1600 samples, hop 800, that is not silent.
std::vector<float> energyFrames(std::span<const float> samples);

struct Centroid {
    double median = 0; // hertz
    double standardDeviation = 0;
};
/// The centre of gravity of the power spectrum over frames of 1024 samples, hop 512. (0, 0) without a frame.
Centroid spectralCentroid(std::span<const float> samples);

/// The mean MFCC vector over frames of 512 samples, hop 256; c[0] is included. None without a frame.
std::optional<Mfcc> meanMFCC(std::span<const float> samples);

/// Triangular filters on the mel scale: [filters][fftSize / 2 + 1] weights.
std::vector<std::vector<float>> melFilterbank(int filters, int fftSize, double rate);

/// The features by which speakers are compared, of a stretch of speech.
struct CompactFeatures {
    std::string gender;
    double pitchMedian = 0;    // hertz
    float energyMedian = 0;    // RMS
    double centroidMedian = 0; // hertz
    std::optional<Mfcc> mfccMean;
};
/// None with fewer than two voiced frames.
std::optional<CompactFeatures> compactFeatures(std::span<const float> samples);

/// The value below which `p` percent (0 to 100) of ascending values lie, interpolated; 0 for none.
double percentile(std::span<const double> sorted, double p);
float percentile(std::span<const float> sorted, double p);

/// 0 for empty vectors, vectors of unequal length, and a norm that is zero or infinite.
double cosineSimilarity(std::span<const double> a, std::span<const double> b);

} // namespace fenlo::voice
