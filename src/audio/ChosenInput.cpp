#include "audio/ChosenInput.h"

#include "settings/Config.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

std::uint32_t idOf(const std::optional<InputDevice>& device) {
    return device ? device->id : 0;
}

} // namespace

std::optional<InputDevice> chosenDevice(const Settings& settings, const AudioInput& inputs) {
    const auto devices = inputs.devices();
    if (!settings.micDevice.empty())
        if (const auto chosen = std::ranges::find(devices, settings.micDevice, &InputDevice::key);
            chosen != devices.end())
            return *chosen;
    const auto device = inputs.defaultDevice();
    if (device && device->isWireless && settings.micMode == MicMode::studio)
        if (const auto builtIn = std::ranges::find_if(
                devices, [](const InputDevice& other) { return other.isBuiltIn && !other.isMonitor; });
            builtIn != devices.end())
            return *builtIn;
    return device;
}

ChosenInput::ChosenInput(AudioInput& inputs, const Config& config, NotificationCenter& notifications)
    : m_inputs(inputs), m_config(config), m_current(idOf(defaultDevice())),
      m_choice(notifications.observe(notification::micModeChanged, [this](const auto&) { lookAgain(); })) {
    m_inputs.onDevicesChanged(m_lifetime.bind([this] { lookAgain(); }));
}

std::unique_ptr<CaptureEngine> ChosenInput::makeEngine() {
    const auto device = defaultDevice();
    return device ? m_inputs.makeEngineOf(device->key) : m_inputs.makeEngine();
}

std::optional<InputDevice> ChosenInput::defaultDevice() const {
    return chosenDevice(m_config.get(), m_inputs);
}

void ChosenInput::onDefaultDeviceChanged(std::function<void()> handler) {
    m_defaultHandlers.push_back(std::move(handler));
}

void ChosenInput::onDevicesChanged(std::function<void()> handler) {
    m_listHandlers.push_back(std::move(handler));
}

void ChosenInput::lookAgain() {
    const std::uint32_t now = idOf(defaultDevice());
    Handlers handlers; // a handler may add another
    if (std::exchange(m_current, now) != now)
        handlers = m_defaultHandlers;
    handlers.insert(handlers.end(), m_listHandlers.begin(), m_listHandlers.end());
    for (const auto& handler : handlers)
        handler();
}

} // namespace fenlo
