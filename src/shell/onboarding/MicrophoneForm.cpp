#include "shell/onboarding/MicrophoneForm.h"

#include "settings/Config.h"
#include "shell/MenuBarController.h"

#include <array>

namespace fenlo {

namespace {

constexpr std::array modes{
    MicrophoneForm::Choice{MicMode::studio, "Computer mic",
                           "records your voice, and your headphones keep playing music"},
    MicrophoneForm::Choice{MicMode::airpods, "Headset mic",
                           "records your voice, and music may lose its quality meanwhile"},
};

constexpr std::array modeReasons{
    "Even with headphones on, Fenlo won't interrupt audio.",
    "48 kHz captures speech better than Bluetooth's 16 kHz.",
    "No Bluetooth handshake delay before your words appear.",
};

} // namespace

MicrophoneForm::MicrophoneForm(const MicrophoneModel::Services& services, MenuBarController& menuBar)
    : devices(services), m_config(services.config), m_menuBar(menuBar) {}

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

} // namespace fenlo
