#pragma once

#include "media/AudioFileReader.h"
#include "media/Resampler.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <stop_token>
#include <vector>

namespace fenlo {

/// A recording as one channel at 16000 hertz, the mean of its channels, block by block, so that hours of it need
/// little memory.
///
/// Errors: AudioFileError, ResamplerError.
class SpeechStream {
public:
    SpeechStream(const std::filesystem::path& file, std::stop_token stop);

    /// The next samples; empty at the end. Valid until the next call.
    std::span<const float> next();

    /// How much of the recording was read, about.
    double fraction() const;
    /// What could not be read; complete at the end.
    const std::vector<AudioDamage>& damages() const { return m_reader.damages(); }

private:
    AudioFileReader m_reader;
    Resampler m_resampler;
    const std::vector<int> m_channels;
    std::uint64_t m_framesRead = 0;
    std::vector<float> m_mono;
    std::vector<float> m_samples;
    bool m_isAtEnd = false;
};

} // namespace fenlo
