#pragma once

#include "media/AudioDamage.h"
#include "media/AudioFileError.h"
#include "media/SoundStream.h"

#include <cstdint>
#include <span>
#include <stop_token>
#include <vector>

namespace fenlo {

/// Only formats that the libraries read, or also those that an installed ffmpeg program converts.
enum class AudioFormats { sndfile, withFfmpeg };

/// Reads an audio file block by block. After damage it continues, where the format allows. Memory and time grow with
/// the samples in the file, never with what a header claims. A recording of more than a day is refused.
///
/// Threads: one at a time. Blocks; for workers and the command line.
/// Errors:  AudioFileError, from the constructor and from nextBlock(); also when `stop` ends a conversion by ffmpeg.
class AudioFileReader {
public:
    AudioFileReader(const std::filesystem::path& file, AudioFormats formats, std::stop_token stop = {});

    int sampleRate() const { return m_stream.sampleRate; } // hertz, from 1000 to 768000
    int channels() const { return m_stream.channels; }
    /// About how many frames nextBlock() gives.
    std::size_t blockFrames() const;
    /// The number of frames to reserve room for: what the header claims, if a file of this size can hold it.
    std::size_t expectedFrames() const;

    /// The next frames, [frames, channels], every sample finite and nominally in [-1, 1]; empty at the end. Missing
    /// frames are given as silence first. Valid until the next call.
    std::span<const float> nextBlock();
    /// What could not be read, in order; complete once nextBlock() has returned nothing.
    const std::vector<AudioDamage>& damages() const { return m_damages; }

private:
    void note(const SoundBlock& block);

    const std::filesystem::path m_file;
    SoundStream m_stream;
    std::uint64_t m_fileSize = 0;
    std::vector<float> m_block;
    SoundBlock m_pending;        // follows the silence before it
    std::uint64_t m_silence = 0; // frames still to be given
    std::uint64_t m_framesRead = 0;
    bool m_isAtEnd = false;
    std::vector<AudioDamage> m_damages;
};

} // namespace fenlo
