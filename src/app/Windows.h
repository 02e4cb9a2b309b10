#pragma once

#include "shell/home/VoiceProfileModel.h"
#include "ui/controls/Appearance.h"
#include "ui/home/HomeWindow.h"
#include "ui/onboarding/VoiceReadingWindow.h"

namespace fenlo {

/// What the windows' models work with. All outlive the windows.
struct WindowServices {
    Config& config;
    Clock& clock;
    MainQueue& mainQueue;
    Background& background;
    NotificationCenter& notifications;
    AudioInput& audioInput;
    KeyEvents& keys;
};

/// The windows of the desktop program, and the models that live as long as it does.
struct Windows {
    explicit Windows(WindowServices services);
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    Appearance appearance;
    VoiceProfileModel voice;
    VoiceReadingWindow voiceReading;
    HomeWindow home;
};

} // namespace fenlo
