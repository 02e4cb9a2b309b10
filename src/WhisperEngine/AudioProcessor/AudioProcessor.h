#pragma once

#include "media/AudioDamage.h"

#include <filesystem>
#include <span>
#include <stop_token>
#include <vector>

namespace fenlo::whisper {

class Logging;

/// How several channels become one: by their sum, so that a voice on one channel keeps its level. A sum that goes
/// beyond full scale anywhere is turned down as a whole, so that it never clips.
struct AudioInputConfig {
    enum class ChannelMode { sumChannels, specificChannel };
    ChannelMode channelMode = ChannelMode::sumChannels;
    std::vector<int> channels; // with specificChannel: which ones, from 0; the first when none of them exists
};

struct LoadedAudio {
    std::vector<float> samples;       // 16 kHz, one channel
    std::vector<AudioDamage> damages; // in the order of their times; silence fills the gaps
};

/// Audio as the engine takes it: 16 kHz, one channel, floats.
class AudioProcessor {
public:
    virtual ~AudioProcessor() = default;

    /// Reads and resamples, block by block, any file that the libraries or an installed ffmpeg program can read. Only
    /// the result is held in memory: 230 MB an hour.
    /// Errors: WhisperError of the kind loadAudioFailed, also for a file without samples, or cancelled.
    virtual LoadedAudio loadAudio(const std::filesystem::path& path, const AudioInputConfig& config,
                                  const Logging& logging, std::stop_token stop) const;
    /// The samples alone.
    std::vector<float> loadAudioAsFloatArray(const std::filesystem::path& path, const AudioInputConfig& config,
                                             const Logging& logging, std::stop_token stop) const;

    /// `toLength` samples from `startAt`, zeros after the end.
    /// Errors: WhisperError of the kind audioProcessingFailed for a start outside the array.
    virtual std::vector<float> padOrTrim(std::span<const float> audioArray, int startAt, int toLength) const;
};

} // namespace fenlo::whisper
