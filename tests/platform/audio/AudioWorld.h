#pragma once

#include "SoundServer.h"
#include "base/MainQueue.h"
#include "platform/linux/audio/PulseAudioInput.h"
#include "platform/linux/audio/PulseAudioOutput.h"
#include "support/FakeAudio.h"

#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace fenlo::test {

/// A main queue whose tasks run when the test lets them.
class PumpedQueue final : public MainQueue {
public:
    void post(Task task) override;
    Timer postAfter(double, Task) override { return {}; }
    Timer every(double, Task) override { return {}; }
    bool isMainThread() const override { return std::this_thread::get_id() == m_mainThread; }
    void pump();
    /// Pumps until the condition holds; false when it does not within the limit.
    bool pumpUntil(const std::function<bool()>& condition, double limit = 10);

private:
    const std::thread::id m_mainThread = std::this_thread::get_id();
    std::mutex m_mutex;
    std::deque<Task> m_tasks;
};

/// What both ports meet in a contract test: the fakes in a made-up world, or the adapters on a server.
class AudioWorld {
public:
    virtual ~AudioWorld() = default;
    virtual AudioInput& input() = 0;
    virtual AudioOutput& output() = 0;
    /// Lets time pass until the condition holds.
    virtual bool passUntil(const std::function<bool()>& condition) = 0;
    virtual void plugInHeadset() = 0;
    virtual void unplugEverything() = 0;
    /// The frequency of what sounds now in hertz; 0 for silence.
    virtual double soundingFrequency() = 0;
};

std::unique_ptr<AudioWorld> makeFakeWorld();
std::unique_ptr<AudioWorld> makePulseWorld();

/// By counting where the signal rises through zero.
double frequencyOf(std::span<const float> samples, double sampleRate);
std::vector<float> tone(double frequency, double seconds, double sampleRate, float amplitude = 0.5F);

} // namespace fenlo::test
