#include "shell/onboarding/MicrophoneForm.h"

#include "audio/Level.h"
#include "platform/AudioInput.h"
#include "settings/Config.h"
#include "shell/MenuBarController.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace fenlo {

namespace {

constexpr double interval = 0.05; // seconds between two looks at the level
constexpr float loudRms = 0.15F;  // shown as a full level, as by the recorder
constexpr float visibleDifference = 0.01F;
constexpr float decay = 0.7F; // of the shown level from look to look

constexpr std::array modes{
    MicrophoneForm::Choice{MicMode::studio, "Computer mic",
                           "records your voice while your headphones keep playing music"},
    MicrophoneForm::Choice{MicMode::airpods, "Headset mic",
                           "records your voice, and music may lose its quality meanwhile"},
};

constexpr std::array modeReasons{
    "Even with headphones on, Fenlo won't interrupt audio.",
    "48 kHz captures speech better than Bluetooth's 16 kHz.",
    "No Bluetooth handshake delay before your words appear.",
};

} // namespace

MicrophoneForm::MicrophoneForm(AudioInput& input, MainQueue& mainQueue, Config& config, MenuBarController& menuBar)
    : m_input(input), m_mainQueue(mainQueue), m_config(config), m_menuBar(menuBar) {
    m_input.onDefaultDeviceChanged(m_lifetime.bind([this] {
        if (m_timer.isSet())
            listen();
        m_changes.tell();
    }));
}

MicrophoneForm::~MicrophoneForm() = default;

std::span<const MicrophoneForm::Choice> MicrophoneForm::choices() {
    return modes;
}

std::span<const char* const> MicrophoneForm::reasons() {
    return modeReasons;
}

MicMode MicrophoneForm::chosen() const {
    return m_config.get().micMode;
}

void MicrophoneForm::choose(MicMode mode) {
    if (mode == MicMode::airpods)
        m_menuBar.setMicAirpods();
    else
        m_menuBar.setMicStudio();
    m_changes.tell();
}

void MicrophoneForm::begin() {
    listen();
    m_timer = m_mainQueue.every(interval, [this] {
        const float level = std::max(m_level.load(), m_shownLevel * decay);
        if (std::abs(level - m_shownLevel) < visibleDifference)
            return;
        m_shownLevel = level;
        m_changes.tell();
    });
}

void MicrophoneForm::end() {
    m_timer.cancel();
    m_engine.reset();
    m_level = 0;
    m_shownLevel = 0;
}

void MicrophoneForm::listen() {
    m_engine.reset();
    m_level = 0;
    m_engine = m_input.makeEngine();
    if (!m_engine)
        return;
    m_engine->installTap(levelFrame,
                         [this](std::span<const float> samples) { m_level = std::min(1.0F, rms(samples) / loudRms); });
    m_engine->start(); // one that refuses shows no level
}

std::optional<std::string> MicrophoneForm::inputName() const {
    const auto device = m_input.defaultDevice();
    return device ? std::optional(device->name) : std::nullopt;
}

} // namespace fenlo
