#include "platform/linux/audio/PulseAudioOutput.h"

#include "platform/linux/audio/PulseConnection.h"
#include "platform/linux/audio/PulsePlayback.h"

#include <cstdint>
#include <utility>

namespace fenlo {

PulseAudioOutput::PulseAudioOutput() : m_connection(std::make_unique<PulseConnection>()) {
    PulseLock lock(*m_connection);
    m_playback = std::make_unique<PulsePlayback>(*m_connection);
}

PulseAudioOutput::~PulseAudioOutput() {
    PulseLock lock(*m_connection);
    m_playback.reset();
}

void PulseAudioOutput::play(std::vector<float> samples, double sampleRate) {
    PulseLock lock(*m_connection);
    m_playback->play(std::move(samples), static_cast<std::uint32_t>(sampleRate));
}

void PulseAudioOutput::stop() {
    PulseLock lock(*m_connection);
    m_playback->stop();
}

} // namespace fenlo
