#pragma once

#include "shell/home/AboutModel.h"
#include "shell/home/DashboardModel.h"
#include "shell/home/HistoryModel.h"
#include "shell/home/HomeViewModel.h"
#include "shell/home/HotkeyTest.h"
#include "shell/home/MicrophoneModel.h"
#include "shell/home/OfflineModels.h"
#include "shell/home/ServiceKeysModel.h"
#include "shell/home/SnippetsModel.h"
#include "shell/home/VoiceProfileModel.h"
#include "ui/controls/Appearance.h"
#include "ui/home/HomeWindow.h"
#include "ui/onboarding/OnboardingWindow.h"
#include "ui/onboarding/WelcomeWindow.h"

#include <functional>
#include <optional>
#include <string>

namespace fenlo {

class AudioInput;
class Background;
class Clock;
class Config;
class KeyEvents;
class MainQueue;
class NotificationCenter;
class StatisticsStore;
class Workspace;

/// What the windows' models work with. All outlive the windows.
struct WindowServices {
    Config& config;
    Clock& clock;
    MainQueue& mainQueue;
    Background& background;
    NotificationCenter& notifications;
    AudioInput& audioInput;
    KeyEvents& keys;
    Workspace& workspace;
    Keychain& keychain;
    LocalTranscriber& localTranscriber;
    TonePlayer& tones;
    StatisticsStore& statistics;
    std::function<void(const std::string&)> copyToClipboard;
    OnboardingServices firstStart;
    const Deployment& deployment;
    HttpClient& http;
    SecureStore& secrets;
    ServiceKeys& serviceKeys;
    std::function<std::optional<float>()> takeLevel; // 0 to 1; nothing while no take is recorded
};

/// The windows of the desktop program, and the models that live as long as it does.
struct Windows {
    explicit Windows(const WindowServices& services);
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    Appearance appearance;
    HomeViewModel settings;
    HotkeyTest hotkeyTest;
    SnippetsModel snippets;
    DashboardModel dashboard;
    HistoryModel history;
    VoiceProfileModel voice;
    AboutModel about;
    ServiceKeysModel serviceKeys;
    OfflineModels offlineModels;
    MicrophoneModel microphone;
    HomeWindow home;
    OnboardingWindow onboarding;
    WelcomeWindow welcome;

private:
    void readPassage();
};

} // namespace fenlo
