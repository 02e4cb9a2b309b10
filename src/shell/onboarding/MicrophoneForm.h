#pragma once

#include "settings/Choices.h"
#include "shell/home/MicrophoneModel.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace fenlo {

class Config;
class MenuBarController;

/// Which microphone the user dictates with, and how loud it hears him. Listens between begin() and end() only, and
/// keeps nothing of what it hears.
///
/// Threads: main thread only.
class MicrophoneForm {
public:
    struct Choice {
        MicMode mode;
        const char* title;
        const char* text;
    };

    MicrophoneForm(const MicrophoneModel::Services& services, MenuBarController& menuBar);
    MicrophoneForm(const MicrophoneForm&) = delete;
    MicrophoneForm& operator=(const MicrophoneForm&) = delete;

    static std::span<const Choice> choices();
    static std::span<const char* const> reasons();
    MicMode chosen() const;
    void choose(MicMode mode);

    void begin() { m_listening = devices.listen(); }
    void end() { m_listening.reset(); }

    MicrophoneModel devices;

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    Config& m_config;
    MenuBarController& m_menuBar;
    std::shared_ptr<void> m_listening;
    Changes m_changes; // of the mode
};

} // namespace fenlo
