#pragma once

#include <filesystem>
#include <stdexcept>
#include <vector>

namespace fenlo {

struct AudioSamples {
    std::vector<float> mono; // finite, nominally in [-1, 1]
    double sampleRate = 0;   // hertz
};

/// what() is one line that names the file, the fault and the remedy.
struct AudioFileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class ChannelMix { first, average };

/// Reads what libsndfile reads. Memory grows with the samples that are really there, never with what a header claims,
/// and a file of more than 2^28 frames (93 minutes at 48 kHz) is refused.
/// Errors: AudioFileError.
AudioSamples readSoundFile(const std::filesystem::path& file, ChannelMix mix);

/// Reads any audio file, first channel only; through an installed ffmpeg program what libsndfile does not know.
/// Blocks; for workers and the command line.
/// Errors: AudioFileError.
AudioSamples readAudioFile(const std::filesystem::path& file);

} // namespace fenlo
