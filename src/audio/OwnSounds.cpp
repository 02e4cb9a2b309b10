#include "audio/OwnSounds.h"

#include "base/Clock.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {
/// Seconds between the call and the capture: opening the output, its buffer, the capture's own.
constexpr double onTheWay = 0.5;
} // namespace

void OwnSounds::play(std::vector<float> samples, double sampleRate) {
    m_heardUntil = m_clock.now() + static_cast<double>(samples.size()) / sampleRate + onTheWay;
    m_output.play(std::move(samples), sampleRate);
}

void OwnSounds::stop() {
    m_output.stop();
    m_heardUntil = std::min(m_heardUntil.load(), m_clock.now() + onTheWay);
}

bool OwnSounds::areHeard() const {
    return m_clock.now() < m_heardUntil;
}

SystemAudioInput::Opened WithoutOwnSounds::open(Tap tap) {
    return m_input.open([this, tap = std::move(tap)](std::span<const float> samples) {
        if (m_sounds.areHeard())
            tap(std::vector<float>(samples.size()));
        else
            tap(samples);
    });
}

} // namespace fenlo
