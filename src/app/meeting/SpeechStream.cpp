#include "app/meeting/SpeechStream.h"

#include "media/MonoMix.h"
#include "media/SpeechRate.h"

#include <algorithm>

namespace fenlo {

SpeechStream::SpeechStream(const std::filesystem::path& file, std::stop_token stop)
    : m_reader(file, AudioFormats::withFfmpeg, stop), m_resampler(m_reader.sampleRate(), speechRate),
      m_channels(allChannels(m_reader.channels())) {}

std::span<const float> SpeechStream::next() {
    m_samples.clear();
    while (m_samples.empty() && !m_isAtEnd) {
        const auto block = m_reader.nextBlock();
        m_isAtEnd = block.empty();
        if (m_isAtEnd) {
            m_resampler.finish(m_samples);
            break;
        }
        m_framesRead += block.size() / m_channels.size();
        m_mono.clear();
        appendMono(m_mono, block, m_reader.channels(), m_channels, 1.0F / static_cast<float>(m_channels.size()));
        m_resampler.process(m_mono, m_samples);
    }
    return m_samples;
}

double SpeechStream::fraction() const {
    const auto expected = static_cast<double>(std::max<std::uint64_t>(m_reader.expectedFrames(), m_framesRead));
    return expected > 0 ? static_cast<double>(m_framesRead) / expected : 0;
}

} // namespace fenlo
