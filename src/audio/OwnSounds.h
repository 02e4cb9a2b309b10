#pragma once

#include "platform/AudioOutput.h"
#include "platform/SystemAudioInput.h"

#include <atomic>

namespace fenlo {

class Clock;

/// Passes the program's own sounds on to the output, and knows how long they are to be heard.
///
/// Threads: any.
class OwnSounds final : public AudioOutput {
public:
    OwnSounds(AudioOutput& output, const Clock& clock) : m_output(output), m_clock(clock) {}

    void play(std::vector<float> samples, double sampleRate) override;
    void stop() override;

    /// Whether what the computer plays now, or what is still on its way to a capture of it, may hold such a sound.
    bool areHeard() const;

private:
    AudioOutput& m_output;
    const Clock& m_clock;
    std::atomic<double> m_heardUntil = 0; // seconds of Clock::now()
};

/// What the computer plays, with silence in the place of the program's own sounds, which are no part of a meeting.
///
/// Threads: those of the port.
class WithoutOwnSounds final : public SystemAudioInput {
public:
    WithoutOwnSounds(SystemAudioInput& input, const OwnSounds& sounds) : m_input(input), m_sounds(sounds) {}

    Opened open(Tap tap) override;

private:
    SystemAudioInput& m_input;
    const OwnSounds& m_sounds;
};

} // namespace fenlo
