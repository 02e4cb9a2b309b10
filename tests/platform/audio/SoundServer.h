#pragma once

#include "support/ChildProcess.h"

#include <filesystem>
#include <string>
#include <vector>

namespace fenlo::test {

/// A PulseAudio server of the test's own, in a folder of its own; PULSE_SERVER names it while this lives.
///
/// Its speaker ("micfeed") feeds its microphone ("virtmic"), so what is played is what is recorded.
class SoundServer {
public:
    SoundServer();
    ~SoundServer();

    /// Starts with speaker and microphone, and waits until it answers.
    void start();
    void startWithoutDevices();
    /// Starts with two speakers, "speakers", which is the default, and "headset", and a microphone "room" of no
    /// speaker, in which 1,000 Hz sound.
    void startWithSpeakers();
    /// As if it crashed.
    void kill();
    void freeze();
    void thaw();

    /// Runs `pactl` and hands back its output.
    std::string control(const std::string& arguments);
    /// Plays a sine of these amplitudes for twenty seconds, in the background.
    void play(float left, float right, double frequency, const std::string& sink = "micfeed");

private:
    void launch(const std::vector<std::string>& modules);

    std::filesystem::path m_folder;
    int m_played = 0;
    ChildProcess m_process;
};

} // namespace fenlo::test
