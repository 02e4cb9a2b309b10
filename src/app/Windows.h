#pragma once

#include "meeting/MeetingTab.h"
#include "shell/home/AboutModel.h"
#include "shell/home/AccountModel.h"
#include "shell/home/DashboardModel.h"
#include "shell/home/HistoryModel.h"
#include "shell/home/HomeViewModel.h"
#include "shell/home/HotkeyTest.h"
#include "shell/home/MicrophoneModel.h"
#include "shell/home/OfflineModels.h"
#include "shell/home/ServiceKeysModel.h"
#include "shell/home/SnippetsModel.h"
#include "shell/home/VoiceProfileModel.h"
#include "ui/screens/Screens.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace fenlo {

class AudioInput;
class AutoUpdater;
class Background;
class Clock;
class KeyEvents;
class MainQueue;
class NotificationCenter;
class Workspace;
struct TakeServices;

/// What the windows' models work with. All outlive the windows.
struct WindowServices {
    TakeServices& take;
    Clock& clock;
    MainQueue& mainQueue;
    Background& background;
    NotificationCenter& notifications;
    AudioInput& audioInput;
    KeyEvents& keys;
    Workspace& workspace;
    TonePlayer& tones;
    std::function<void(const std::string&)> copyToClipboard;
    OnboardingServices firstStart;
    AutoUpdater& updater;
    const Deployment& deployment;
    HttpClient& http;
    SecureStore& secrets;
    AccountStore& account;
    MeetingModeController& meetings;
    std::function<void()> startMeeting; // may refuse
    std::function<void()> stopMeeting;
    std::function<std::optional<float>()> takeLevel; // 0 to 1; nothing while no take is recorded
};

/// The windows of the desktop program, and the models that live as long as it does. The windows are loaded when the
/// first is asked for.
struct Windows {
    explicit Windows(const WindowServices& services);
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    HomeViewModel settings;
    HotkeyTest hotkeyTest;
    SnippetsModel snippets;
    DashboardModel dashboard;
    MeetingTab meeting;
    HistoryModel history;
    VoiceProfileModel voice;
    AboutModel about;
    AccountModel account;
    ServiceKeysModel serviceKeys;
    OfflineModels offlineModels;
    MicrophoneModel microphone;

    void showHome(int tab);
    void closeHome();
    void showOnboarding(OnboardingStart start);
    void presentOnboarding();
    void showWelcome();
    void showUpdates();

private:
    /// Null where they cannot be loaded.
    Screens* screens();

    const ScreenModels m_models;
    const ScreensModule m_module;
    std::unique_ptr<Screens> m_screens;
};

} // namespace fenlo
