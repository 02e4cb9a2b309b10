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

/// Reads a whole file of at most 2^28 frames in a format that one of the libraries knows.
/// Errors: AudioFileError.
AudioSamples readSoundFile(const std::filesystem::path& file, ChannelMix mix);

struct Recording {
    std::vector<float> samples; // one channel, finite
    std::vector<AudioDamage> damages;
};

/// Reads any audio file at the caller's sample rate with all channels mixed. Formats that the libraries do not know go
/// through an installed ffmpeg program.
/// Errors: AudioFileError, also for a file without samples; ResamplerError.
Recording readRecording(const std::filesystem::path& file, int sampleRate);

/// Reads to the end and gives the sum of the chosen channels at `sampleRate` hertz; only this result is held in memory.
/// A single channel keeps its level. If the sum exceeds full scale anywhere, all of it is turned down, at most to the
/// mean of the channels. A stop request ends the reading early. Errors: AudioFileError, ResamplerError.
std::vector<float> readMono(AudioFileReader& reader, std::span<const int> chosen, Resampler& resampler, int sampleRate,
                            const std::stop_token& stop);

} // namespace fenlo
