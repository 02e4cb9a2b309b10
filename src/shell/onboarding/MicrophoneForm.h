#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "settings/Choices.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace fenlo {

class AudioInput;
class CaptureEngine;
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

    MicrophoneForm(AudioInput& input, MainQueue& mainQueue, Config& config, MenuBarController& menuBar);
    ~MicrophoneForm();
    MicrophoneForm(const MicrophoneForm&) = delete;
    MicrophoneForm& operator=(const MicrophoneForm&) = delete;

    static std::span<const Choice> choices();
    static std::span<const char* const> reasons();
    MicMode chosen() const;
    void choose(MicMode mode);

    void begin();
    void end();
    /// Of the input in use; none without a microphone.
    std::optional<std::string> inputName() const;
    float level() const { return m_shownLevel; } // 0 to 1

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    void listen();

    AudioInput& m_input;
    MainQueue& m_mainQueue;
    Config& m_config;
    MenuBarController& m_menuBar;
    std::atomic<float> m_level = 0; // written by the audio thread
    float m_shownLevel = 0;
    Timer m_timer;
    Changes m_changes;
    Lifetime m_lifetime;
    std::unique_ptr<CaptureEngine> m_engine; // destroyed first, so that no tap call comes afterwards
};

} // namespace fenlo
