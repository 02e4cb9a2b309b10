#include "audio/RunningClip.h"

#include "audio/ChunkWriter.h"
#include "audio/Level.h"
#include "audio/TakeChunks.h"
#include "media/LastSound.h"
#include "media/SpeechRate.h"

#include <algorithm>

namespace fenlo {

namespace {

/// For a chunk; memory that is not touched costs nothing.
std::shared_ptr<std::vector<float>> memoryFor(std::size_t samples) {
    auto room = std::make_shared<std::vector<float>>();
    room->reserve(samples);
    return room;
}

} // namespace

RunningClip::RunningClip(double sampleRate)
    : m_sampleRate(sampleRate), m_resampler(sampleRate, speechRate),
      m_samples(memoryFor(static_cast<std::size_t>((chunkDuration + 1) * speechRate))) {}

void RunningClip::append(std::span<const float> samples) {
    const auto most = static_cast<std::size_t>(static_cast<double>(samples.size()) * speechRate / m_sampleRate) + 2;
    if (m_samples->size() + most > m_samples->capacity()) {
        auto larger = memoryFor(2 * m_samples->capacity() + most);
        larger->assign(m_samples->begin(), m_samples->end());
        m_samples = std::move(larger);
    }
    const std::size_t before = m_samples->size();
    if (hasSpeechRate(m_sampleRate))
        m_samples->insert(m_samples->end(), samples.begin(), samples.end());
    else
        m_resampler.append(samples, *m_samples);
    const std::span<const float> all = *m_samples;
    m_peak = std::max(m_peak, fenlo::peak(all.subspan(before)));
    while ((m_levels.size() + 1) * soundFrame <= all.size())
        m_levels.push_back(rms(all.subspan(m_levels.size() * soundFrame, soundFrame)));
}

std::size_t RunningClip::soundEnd() const {
    return framesToLastSound(m_levels).value_or(0);
}

std::size_t RunningClip::keptEnd() const {
    return framesKept(soundEnd());
}

} // namespace fenlo
