#pragma once

#include "base/Lifetime.h"
#include "base/NotificationCenter.h"
#include "platform/AudioInput.h"

#include <cstdint>

namespace fenlo {

class Config;
struct Settings;

/// The device that takes are recorded from: the chosen one, while it is plugged in. Otherwise the desktop's default,
/// except that "studio" takes a built-in one in the place of a wireless headset, whose microphone sounds worse, is slow
/// to open and cuts into what the headset plays.
std::optional<InputDevice> chosenDevice(const Settings& settings, const AudioInput& inputs);

/// The sound system's inputs, with that device in the place of the default one.
///
/// Threads: main thread.
class ChosenInput final : public AudioInput {
public:
    ChosenInput(AudioInput& inputs, const Config& config, NotificationCenter& notifications);

    std::unique_ptr<CaptureEngine> makeEngine() override;
    std::unique_ptr<CaptureEngine> makeEngineOf(const std::string& key) override { return m_inputs.makeEngineOf(key); }
    std::optional<InputDevice> defaultDevice() const override;
    std::vector<InputDevice> devices() const override { return m_inputs.devices(); }
    bool isConnected() const override { return m_inputs.isConnected(); }
    void onDefaultDeviceChanged(std::function<void()> handler) override;
    void onDevicesChanged(std::function<void()> handler) override;

private:
    using Handlers = std::vector<std::function<void()>>;

    void lookAgain();

    AudioInput& m_inputs;
    const Config& m_config;
    std::uint32_t m_current;
    Handlers m_defaultHandlers;
    Handlers m_listHandlers;
    NotificationCenter::Observation m_choice;
    Lifetime m_lifetime;
};

} // namespace fenlo
