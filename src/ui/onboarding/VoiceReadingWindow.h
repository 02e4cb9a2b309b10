#pragma once

#include "shell/onboarding/VoiceReading.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace fenlo {

class Appearance;

/// The reading of the passage in a window of its own, as the settings open it in the running program.
///
/// Threads: main thread only.
class VoiceReadingWindow {
public:
    VoiceReadingWindow(Appearance& appearance, VoiceReading::Services services, std::filesystem::path profileFile);
    VoiceReadingWindow(const VoiceReadingWindow&) = delete;
    VoiceReadingWindow& operator=(const VoiceReadingWindow&) = delete;
    ~VoiceReadingWindow();

    /// Opens it, or brings it to the front.
    void open();
    /// It was closed, with a new profile or without.
    std::function<void()> onClosed;

private:
    struct Open;

    void closed();

    Appearance& m_appearance;
    const VoiceReading::Services m_services;
    const std::filesystem::path m_profileFile;
    std::unique_ptr<Open> m_open;
};

} // namespace fenlo
