#pragma once

#include "platform/AudioInput.h"
#include "platform/AudioOutput.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace fenlo::test {

/// The sound hardware behind the fakes: what is plugged in, and what its engines did.
struct FakeMicrophone {
    std::optional<InputDevice> device = InputDevice{7, "Fake microphone", true, false, "fake"};
    InputFormat format{16000, 1};
    std::vector<std::string> startErrors; // of the next starts; "" for one that succeeds
    std::function<void()> whileStarting;  // how long a start takes, on the thread that asks for it
    int enginesMade = 0;
    int starts = 0;
    int stops = 0;
    class FakeCaptureEngine* engine = nullptr; // the newest one, null when it is gone
};

class FakeCaptureEngine final : public CaptureEngine {
public:
    explicit FakeCaptureEngine(FakeMicrophone& microphone) : m_microphone(microphone), m_format(microphone.format) {
        m_microphone.engine = this;
        ++m_microphone.enginesMade;
    }
    ~FakeCaptureEngine() override {
        if (m_microphone.engine == this)
            m_microphone.engine = nullptr;
    }

    InputFormat format() const override { return m_format; }
    void installTap(std::size_t frames, Tap tap) override {
        m_frames = frames;
        m_tap = std::move(tap);
        m_gathered.clear();
    }
    void removeTap() override { m_tap = {}; }
    std::optional<std::string> start() override {
        if (m_isRunning)
            return {};
        if (m_format.channels == 0)
            return "there is no input device";
        ++m_microphone.starts;
        if (m_microphone.whileStarting)
            m_microphone.whileStarting();
        if (!m_microphone.startErrors.empty()) {
            const std::string error = m_microphone.startErrors.front();
            m_microphone.startErrors.erase(m_microphone.startErrors.begin());
            if (!error.empty())
                return error;
        }
        m_gathered.clear();
        m_isRunning = true;
        return {};
    }
    void stop() override {
        m_microphone.stops += m_isRunning;
        m_isRunning = false;
    }
    bool isRunning() const override { return m_isRunning; }

    /// The device records these samples; the tap gets them in buffers of its size.
    void hear(std::span<const float> samples) {
        for (const float sample : samples) {
            if (!m_isRunning || !m_tap)
                return;
            m_gathered.push_back(sample);
            if (m_gathered.size() == m_frames)
                m_tap(std::exchange(m_gathered, {}));
        }
    }

private:
    FakeMicrophone& m_microphone;
    const InputFormat m_format;
    std::size_t m_frames = 0;
    Tap m_tap;
    std::vector<float> m_gathered;
    bool m_isRunning = false;
};

class FakeAudioInput final : public AudioInput {
public:
    std::unique_ptr<CaptureEngine> makeEngine() override { return makeFor(microphone.device); }
    std::unique_ptr<CaptureEngine> makeEngineOf(const std::string& key) override {
        const auto all = devices();
        const auto found = std::ranges::find(all, key, &InputDevice::key);
        return makeFor(found == all.end() ? std::nullopt : std::optional(*found));
    }
    std::optional<InputDevice> defaultDevice() const override { return microphone.device; }
    std::vector<InputDevice> devices() const override {
        std::vector<InputDevice> all = others;
        if (microphone.device)
            all.insert(all.begin(), *microphone.device);
        return all;
    }
    bool isConnected() const override { return hasServer; }
    void onDefaultDeviceChanged(std::function<void()> handler) override { handlers.push_back(std::move(handler)); }
    void onDevicesChanged(std::function<void()> handler) override { listHandlers.push_back(std::move(handler)); }

    /// Plugs in another device, or unplugs all, and tells the handlers.
    void change(std::optional<InputDevice> device) {
        microphone.device = std::move(device);
        tell(handlers);
        tell(listHandlers);
    }
    /// Plugs in devices beside the default one, in the place of those before.
    void plugInBeside(std::vector<InputDevice> devices) {
        others = std::move(devices);
        tell(listHandlers);
    }
    /// The running engine records these samples.
    void hear(std::span<const float> samples) {
        if (microphone.engine)
            microphone.engine->hear(samples);
    }

    FakeMicrophone microphone;
    bool hasServer = true;
    std::vector<InputDevice> others; // beside the default one
    std::string openedKey;           // of the device of the newest engine; empty for none
    std::vector<std::function<void()>> handlers;
    std::vector<std::function<void()>> listHandlers;

private:
    std::unique_ptr<CaptureEngine> makeFor(const std::optional<InputDevice>& device) {
        openedKey = device ? device->key : "";
        auto hardware = std::exchange(microphone.format, device ? microphone.format : InputFormat());
        auto engine = std::make_unique<FakeCaptureEngine>(microphone);
        microphone.format = hardware;
        return engine;
    }
    static void tell(const std::vector<std::function<void()>>& listeners) {
        for (const auto& listener : std::vector(listeners))
            listener();
    }
};

/// Remembers what is played, and which sound plays now.
class FakeAudioOutput final : public AudioOutput {
public:
    struct Sound {
        std::vector<float> samples;
        double sampleRate = 0;
    };

    void play(std::vector<float> samples, double sampleRate) override {
        played.push_back({std::move(samples), sampleRate});
        current = played.back();
    }
    void stop() override { current.reset(); }

    std::vector<Sound> played;
    std::optional<Sound> current;
};

} // namespace fenlo::test
