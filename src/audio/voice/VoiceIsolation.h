#pragma once

#include "audio/voice/VoiceProfile.h"

#include <cstddef>
#include <filesystem>
#include <span>

namespace fenlo {

class Config;

/// Cuts other people's voices out of a recording: windows that do not sound like the stored profile go. In every
/// doubtful case the recording stays as it is.
///
/// Threads: workers; the profile is read on each call.
/// Errors:  none; whatever fails gives the given file.
class VoiceIsolation {
public:
    VoiceIsolation(Config& config, std::filesystem::path profileFile);

    /// The file to transcribe: the given one, or a new temporary one that is the caller's to delete.
    std::filesystem::path isolateVoice(const std::filesystem::path& chunk) const;

private:
    Config& m_config;
    const std::filesystem::path m_profileFile;
};

/// The samples at 16000 Hz without the stretches that are not the profile's voice, pushed together with a pause of 50
/// ms at each join; empty when nothing can be told or nothing is to be removed.
std::vector<float> isolated(std::span<const float> samples, const VoiceProfileData& profile);

/// How well a window of speech fits the profile, 0 to 1.
double voiceMatchScore(const voice::CompactFeatures& window, const VoiceProfileData& profile);

/// Turns the hard edges of a mask of zeros and ones into ramps, in place.
void applyEdgeFades(std::span<float> mask, std::size_t width);

} // namespace fenlo
