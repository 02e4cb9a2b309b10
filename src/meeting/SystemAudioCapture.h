#pragma once

#include "base/Guarded.h"
#include "platform/SystemAudioInput.h"

#include <atomic>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace fenlo {

/// The far side of a meeting: gathers what the computer plays until it is taken.
///
/// Threads:  start() on a worker, the rest on the main thread; stop() also while start() is at work.
/// Lifetime: lives until start() has returned.
/// Units:    mono samples at systemAudioRate, 32-bit floats in [-1, 1].
class SystemAudioCapture {
public:
    explicit SystemAudioCapture(SystemAudioInput& input) : m_input(input) {}
    ~SystemAudioCapture() { stop(); }
    SystemAudioCapture(const SystemAudioCapture&) = delete;
    SystemAudioCapture& operator=(const SystemAudioCapture&) = delete;

    /// Blocks for three seconds at most. Returns why there is no capture, one line; nothing when it captures, or when
    /// it was stopped meanwhile. Does nothing in a capture.
    std::optional<std::string> start();
    /// Ends the capture, and what was not taken is forgotten.
    void stop();
    bool isCapturing() const;
    /// How loud the computer is, on the recorder's scale; on any thread.
    float currentRMS() const { return m_currentRms; }

    /// Moves out what has come since the last call. Empty also when it was nothing but digital silence, so that a
    /// computer that plays nothing is like one that is not captured.
    std::vector<float> take();

private:
    enum class State { idle, starting, capturing };
    struct Heard {
        State state = State::idle;
        unsigned attempt = 0; // counts starts and stops
        std::vector<float> buffer;
        bool hasSound = false;
        std::unique_ptr<SystemAudioStream> stream;
    };

    void hear(std::span<const float> samples);

    SystemAudioInput& m_input;
    std::atomic<float> m_currentRms = 0;
    Guarded<Heard> m_heard;
};

} // namespace fenlo
