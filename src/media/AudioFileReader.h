#pragma once

#include "media/AudioDamage.h"
#include "media/AudioFileError.h"
#include "media/SoundStream.h"

#include <cstdint>
#include <span>
#include <stop_token>
#include <vector>

namespace fenlo {

/// What the libraries here read, or also what an installed ffmpeg program can convert.
enum class AudioFormats { sndfile, withFfmpeg };

/// Reads an audio file block by block, and behind damage goes on where the format lets it be found again. Memory and
/// time grow with the samples that are really there, never with what a header claims; only a recording of more than a
/// day is refused.
///
/// Threads: one at a time. Blocks; for workers and the command line.
/// Errors:  AudioFileError, from the constructor and from nextBlock(); also when `stop` ends a conversion by ffmpeg.
class AudioFileReader {
public:
    AudioFileReader(const std::filesystem::path& file, AudioFormats formats, std::stop_token stop = {});

    int sampleRate() const { return m_stream.sampleRate; } // hertz, from 1000 to 768000
    int channels() const { return m_stream.channels; }
    /// About how many frames come at once.
    std::size_t blockFrames() const;
    /// The most frames to reserve room for: what the header claims, as far as a file of this size bears it out.
    std::size_t expectedFrames() const;

    /// The next frames, [frames, channels], every sample finite and nominally in [-1, 1]; empty at the end. Where some
    /// are missing, silence of their length comes first. Valid until the next call.
    std::span<const float> nextBlock();
    /// What could not be read, in order; complete when nextBlock() has given nothing.
    const std::vector<AudioDamage>& damages() const { return m_damages; }

private:
    void note(const SoundBlock& block);

    const std::filesystem::path m_file;
    SoundStream m_stream;
    std::uint64_t m_fileSize = 0;
    std::vector<float> m_block;
    SoundBlock m_pending;        // comes when the silence before it has been given
    std::uint64_t m_silence = 0; // frames of it that are still to come
    std::uint64_t m_framesRead = 0;
    bool m_isAtEnd = false;
    std::vector<AudioDamage> m_damages;
};

} // namespace fenlo
