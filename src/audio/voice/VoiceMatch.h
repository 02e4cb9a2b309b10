#pragma once

#include "audio/voice/VoiceProfile.h"

#include <cstddef>
#include <span>
#include <vector>

/// Which stretches of a recording are the profile's voice, and the recording without the others. Samples are mono at
/// 16000 Hz.
///
/// Threads: any; pure.
namespace fenlo {

inline constexpr std::size_t matchWindow = 6400; // samples, 0.4 seconds
inline constexpr std::size_t matchHop = 3200;

/// Whether a window of this score stays.
bool isKept(double score);

/// How well a window of speech fits the profile, 0 to 1.
double voiceMatchScore(const voice::CompactFeatures& window, const VoiceProfileData& profile);

/// The score of each complete window; 0 for a window without a voice.
std::vector<double> windowScores(std::span<const float> samples, const VoiceProfileData& profile);

/// How much of what was said in a recording fits the profile.
struct KeptShare {
    std::size_t spoken = 0; // windows with a voice
    std::size_t kept = 0;   // of these
};
KeptShare keptShare(std::span<const float> samples, const VoiceProfileData& profile);

/// The samples of the kept windows, joined with a pause of 50 ms; empty when none or all windows are kept.
std::vector<float> isolated(std::span<const float> samples, std::span<const double> scores);

/// Turns the hard edges of a mask of zeros and ones into ramps, in place.
void applyEdgeFades(std::span<float> mask, std::size_t width);

} // namespace fenlo
