#include "meeting/RecordingChunks.h"

#include "audio/Level.h"
#include "media/SpeechRate.h"

#include <cmath>
#include <utility>

namespace fenlo {

namespace {

/// The sample before which a tick falls.
std::size_t sampleOfTick(std::size_t tick) {
    return static_cast<std::size_t>(std::lround(static_cast<double>(tick) * meetingTick * speechRate));
}

double secondsOf(std::size_t samples) {
    return static_cast<double>(samples) / speechRate;
}

} // namespace

std::vector<RecordingChunks::Chunk> RecordingChunks::add(std::span<const float> samples) {
    m_samples.insert(m_samples.end(), samples.begin(), samples.end());
    std::vector<Chunk> chunks;
    for (std::size_t now = sampleOfTick(m_ticks + 1); now <= m_start + m_samples.size();
         now = sampleOfTick(m_ticks + 1)) {
        ++m_ticks;
        const std::size_t length = now - m_start;
        const auto sinceLastTick = std::span(m_samples).subspan(m_heard, length - m_heard);
        m_heard = length;
        if (m_rule.tick(displayLevel(rms(sinceLastTick)), secondsOf(now)))
            chunks.push_back(cutAt(length));
    }
    return chunks;
}

RecordingChunks::Chunk RecordingChunks::finish() {
    return cutAt(m_samples.size());
}

RecordingChunks::Chunk RecordingChunks::cutAt(std::size_t length) {
    const auto end = m_samples.begin() + static_cast<std::ptrdiff_t>(length);
    std::vector<float> rest(end, m_samples.end());
    m_samples.resize(length);
    m_start += length;
    m_heard = 0;
    return {std::exchange(m_samples, std::move(rest)), secondsOf(m_start)};
}

} // namespace fenlo
