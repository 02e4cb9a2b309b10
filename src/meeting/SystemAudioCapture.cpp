#include "meeting/SystemAudioCapture.h"

#include "audio/Level.h"
#include "base/Log.h"

#include <utility>

namespace fenlo {

std::optional<std::string> SystemAudioCapture::start() {
    const std::optional<unsigned> attempt = m_heard.with([](Heard& heard) -> std::optional<unsigned> {
        if (heard.state != State::idle)
            return std::nullopt;
        heard.state = State::starting;
        return ++heard.attempt;
    });
    if (!attempt)
        return {};
    SystemAudioInput::Opened opened = m_input.open([this](std::span<const float> samples) { hear(samples); });
    const bool hasFailed = !opened.stream;
    const bool isWanted = m_heard.with([&](Heard& heard) {
        if (heard.attempt != *attempt)
            return false;
        heard.state = hasFailed ? State::idle : State::capturing;
        heard.stream.swap(opened.stream);
        return true;
    });
    if (!isWanted)
        return {}; // the stream ends here
    if (hasFailed)
        return opened.error;
    logInfo("System audio capture started");
    return {};
}

void SystemAudioCapture::stop() {
    // It ends outside the lock, which a last call of the tap may want.
    std::unique_ptr<SystemAudioStream> stream;
    m_heard.with([&](Heard& heard) {
        ++heard.attempt;
        heard.state = State::idle;
        heard.buffer = {};
        heard.hasSound = false;
        stream.swap(heard.stream);
    });
    if (!stream)
        return;
    stream.reset();
    m_currentRms = 0;
    logInfo("System audio capture stopped");
}

bool SystemAudioCapture::isCapturing() const {
    return m_heard.with([](const Heard& heard) { return heard.state == State::capturing; });
}

std::vector<float> SystemAudioCapture::take() {
    std::vector<float> samples;
    const bool hasSound = m_heard.with([&](Heard& heard) {
        samples.swap(heard.buffer);
        return std::exchange(heard.hasSound, false);
    });
    if (!hasSound)
        return {};
    return samples;
}

void SystemAudioCapture::hear(std::span<const float> samples) {
    const float level = rms(samples);
    m_heard.with([&](Heard& heard) {
        if (heard.state != State::capturing)
            return;
        m_currentRms = displayLevel(level);
        heard.buffer.insert(heard.buffer.end(), samples.begin(), samples.end());
        heard.hasSound = heard.hasSound || level > 0;
    });
}

} // namespace fenlo
