#pragma once

#include "media/AudioFileReader.h"

#include <filesystem>
#include <vector>

namespace fenlo {

struct AudioSamples {
    std::vector<float> mono; // finite, nominally in [-1, 1]
    double sampleRate = 0;   // hertz
};

enum class ChannelMix { first, average };

/// Reads a whole file that libsndfile knows.
/// Errors: AudioFileError.
AudioSamples readSoundFile(const std::filesystem::path& file, ChannelMix mix);

/// Reads any whole audio file, first channel only; through an installed ffmpeg program what libsndfile does not know.
/// Errors: AudioFileError.
AudioSamples readAudioFile(const std::filesystem::path& file);

} // namespace fenlo
