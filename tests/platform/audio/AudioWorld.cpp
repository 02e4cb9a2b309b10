#include "AudioWorld.h"

namespace fenlo::test {

namespace {

class FakeWorld final : public AudioWorld {
public:
    AudioInput& input() override { return m_input; }
    AudioOutput& output() override { return m_output; }
    bool passUntil(const std::function<bool()>& condition) override {
        const auto moment = sine(0.5F, 0.01, m_input.microphone.format.sampleRate, 440);
        for (int step = 0; step < 200 && !condition(); ++step)
            m_input.hear(moment);
        return condition();
    }
    void plugInHeadset() override { m_input.change(InputDevice{8, "Headset", false, true, "headset"}); }
    void plugInBeside() override { m_input.plugInBeside({{9, "Beside", true, false, "beside"}}); }
    void unplugBeside() override { m_input.plugInBeside({}); }
    void unplugEverything() override {
        m_input.microphone.format = {};
        m_input.change({});
    }
    double soundingFrequency() override {
        return m_output.current ? frequencyOf(m_output.current->samples, m_output.current->sampleRate) : 0;
    }

private:
    FakeAudioInput m_input;
    FakeAudioOutput m_output;
};

class PulseWorld final : public AudioWorld {
public:
    PulseWorld() { m_server.start(); }

    AudioInput& input() override {
        if (!m_input)
            m_input.emplace(m_queue);
        return *m_input;
    }
    AudioOutput& output() override {
        if (!m_output)
            m_output.emplace();
        return *m_output;
    }
    bool passUntil(const std::function<bool()>& condition) override { return m_queue.runUntil(condition); }
    void plugInHeadset() override {
        m_server.control("load-module module-remap-source master=micfeed.monitor source_name=headset "
                         "source_properties=device.bus=bluetooth");
        m_server.control("set-default-source headset");
    }
    void plugInBeside() override {
        m_beside = m_server.control("load-module module-remap-source master=micfeed.monitor source_name=beside "
                                    "source_properties=device.description=Beside");
    }
    void unplugBeside() override { m_server.control("unload-module " + m_beside); }
    void unplugEverything() override {
        m_server.control("unload-module module-remap-source");
        m_server.control("unload-module module-null-sink");
    }
    double soundingFrequency() override;

private:
    SoundServer m_server;
    std::string m_beside;
    PumpedQueue m_queue;
    std::optional<PulseAudioInput> m_input;
    std::optional<PulseAudioOutput> m_output;
};

/// Listens with an engine of its own for a fifth of a second.
double PulseWorld::soundingFrequency() {
    const auto engine = input().makeEngine();
    const double rate = engine->format().sampleRate;
    std::mutex mutex;
    std::vector<float> heard;
    engine->installTap(static_cast<std::size_t>(rate / 5), [&](std::span<const float> samples) {
        std::lock_guard lock(mutex);
        heard.assign(samples.begin(), samples.end());
    });
    engine->start();
    m_queue.runUntil([&] {
        std::lock_guard lock(mutex);
        return !heard.empty();
    });
    engine->removeTap();
    return frequencyOf(heard, rate);
}

} // namespace

std::unique_ptr<AudioWorld> makeFakeWorld() {
    return std::make_unique<FakeWorld>();
}

std::unique_ptr<AudioWorld> makePulseWorld() {
    return std::make_unique<PulseWorld>();
}

double frequencyOf(std::span<const float> samples, double sampleRate) {
    if (samples.empty())
        return 0;
    constexpr float silence = 0.01F;
    std::size_t rises = 0;
    bool isLow = false;
    for (const float sample : samples) {
        if (sample < -silence)
            isLow = true;
        else if (isLow && sample > silence) {
            isLow = false;
            ++rises;
        }
    }
    return static_cast<double>(rises) * sampleRate / static_cast<double>(samples.size());
}

} // namespace fenlo::test
