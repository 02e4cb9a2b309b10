#pragma once

#include "platform/AudioOutput.h"

#include <memory>

namespace fenlo {

class PulseConnection;
class PulsePlayback;

/// Plays on the default sink of a PulseAudio server (or PipeWire's). It has a connection of its own, so that a sound
/// never waits for the microphone's. Without a server it is silent.
///
/// Threads: any; play() and stop() never wait for the server.
class PulseAudioOutput final : public AudioOutput {
public:
    PulseAudioOutput();
    ~PulseAudioOutput() override;

    void play(std::vector<float> samples, double sampleRate) override;
    void stop() override;

private:
    std::unique_ptr<PulseConnection> m_connection;
    std::unique_ptr<PulsePlayback> m_playback;
};

} // namespace fenlo
