#pragma once

#include "media/AudioFileReader.h"

#include <filesystem>
#include <vector>

namespace fenlo {

class Resampler;

struct AudioSamples {
    std::vector<float> mono; // finite, nominally in [-1, 1]
    double sampleRate = 0;   // hertz
};

enum class ChannelMix { first, average };

/// Reads a whole file that one of the libraries here knows, of at most 2^28 frames.
/// Errors: AudioFileError.
AudioSamples readSoundFile(const std::filesystem::path& file, ChannelMix mix);

struct Recording {
    std::vector<float> samples; // one channel, finite
    std::vector<AudioDamage> damages;
};

/// Reads any audio file at a rate of the caller's, all channels mixed; through an installed ffmpeg program what the
/// libraries here do not know.
/// Errors: AudioFileError, also for a file without samples; ResamplerError.
Recording readRecording(const std::filesystem::path& file, int sampleRate);

/// Reads to the end, block by block, so that only the result is held in memory: the sum of the chosen channels through
/// the resampler, to `sampleRate` hertz. One channel keeps its level. A sum that goes beyond full scale anywhere is
/// turned down as a whole, at most to the mean of the channels. A stop request ends it early.
/// Errors: AudioFileError, ResamplerError.
std::vector<float> readMono(AudioFileReader& reader, std::span<const int> chosen, Resampler& resampler, int sampleRate,
                            const std::stop_token& stop);

} // namespace fenlo
