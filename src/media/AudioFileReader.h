#pragma once

#include "media/AudioDamage.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <vector>

namespace fenlo {

/// what() is one line that names the file, the fault and the remedy.
struct AudioFileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What libsndfile reads, or also what an installed ffmpeg program can convert.
enum class AudioFormats { sndfile, withFfmpeg };

/// Reads an audio file block by block. Memory and time grow with the samples that are really there, never with what a
/// header claims, and a file of more than 2^28 frames (93 minutes at 48 kHz) is refused.
///
/// Threads: one at a time. Blocks; for workers and the command line.
/// Errors:  AudioFileError, from the constructor and from nextBlock(); also when `stop` ends a conversion by ffmpeg.
class AudioFileReader {
public:
    AudioFileReader(const std::filesystem::path& file, AudioFormats formats, std::stop_token stop = {});
    ~AudioFileReader();

    int sampleRate() const; // hertz, from 1000 to 768000
    int channels() const;
    /// The most frames that nextBlock() gives.
    std::size_t blockFrames() const { return m_block.size() / static_cast<std::size_t>(channels()); }
    /// How many frames to reserve room for: what the header claims, as far as a file of this size bears it out.
    std::size_t expectedFrames() const;

    /// The next frames, [frames, channels], every sample finite and nominally in [-1, 1]; empty at the end. Valid until
    /// the next call.
    std::span<const float> nextBlock();
    /// What could not be read, in order; complete when nextBlock() has given nothing.
    const std::vector<AudioDamage>& damages() const { return m_damages; }

private:
    struct Sound;
    const std::filesystem::path m_file;
    std::unique_ptr<Sound> m_sound;
    std::vector<float> m_block;
    std::size_t m_framesRead = 0;
    std::vector<AudioDamage> m_damages;
};

} // namespace fenlo
