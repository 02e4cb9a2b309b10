#pragma once

#include "SoundServer.h"
#include "platform/PumpedQueue.h"
#include "platform/linux/audio/PulseAudioInput.h"
#include "platform/linux/audio/PulseAudioOutput.h"
#include "support/FakeAudio.h"
#include "support/Signals.h"

#include <functional>

namespace fenlo::test {

/// What both ports meet in a contract test: the fakes in a made-up world, or the adapters on a server.
class AudioWorld {
public:
    virtual ~AudioWorld() = default;
    virtual AudioInput& input() = 0;
    virtual AudioOutput& output() = 0;
    /// Lets time pass until the condition holds.
    virtual bool passUntil(const std::function<bool()>& condition) = 0;
    virtual void plugInHeadset() = 0;
    /// A device with the key "beside", which does not become the default.
    virtual void plugInBeside() = 0;
    virtual void unplugBeside() = 0;
    virtual void unplugEverything() = 0;
    /// The frequency of what sounds now in hertz; 0 for silence.
    virtual double soundingFrequency() = 0;
};

std::unique_ptr<AudioWorld> makeFakeWorld();
std::unique_ptr<AudioWorld> makePulseWorld();

/// By counting where the signal rises through zero.
double frequencyOf(std::span<const float> samples, double sampleRate);

} // namespace fenlo::test
