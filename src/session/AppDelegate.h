#pragma once

#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "base/NotificationCenter.h"
#include "session/HotkeyListener.h"

#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

namespace fenlo {

class Accessibility;
class AudioRecorder;
class Background;
class Config;
class DictationSession;
class KeyEvents;
class Keychain;
class MenuBarController;
class OverlayWindow;
class Workspace;

/// The services that start-up wires together. All outlive the delegate.
struct AppServices {
    Config& config;
    MainQueue& mainQueue;
    Background& background;
    NotificationCenter& notifications;
    KeyEvents& keys;
    Accessibility& accessibility;
    Workspace& workspace;
    Keychain& keychain;
    AudioRecorder& recorder;
    OverlayWindow& overlay;
    MenuBarController& menuBar;
    DictationSession& session;
};

/// What start-up asks the rest of the program; by default nothing happens. Functions with a stop token run on a worker.
struct AppHooks {
    std::function<void()> terminate;
    std::function<void(std::stop_token)> prepareLocalEngine = [](std::stop_token) {};
    std::function<void(std::stop_token)> prepareTranscriber = [](std::stop_token) {};
    std::function<void(std::stop_token)> sendHeartbeat = [](std::stop_token) {};
    std::function<void(std::stop_token)> syncProfile = [](std::stop_token) {};
    /// Whether takes were found that can be tried again.
    std::function<bool()> recoverTakes = [] { return false; };
    std::function<bool()> isMeetingActive = [] { return false; };
    std::function<void()> stopMeeting = [] {};
};

/// Prepares the program for the first dictation, and reacts to sleep and quit.
///
/// Threads: main thread only.
class AppDelegate {
public:
    AppDelegate(AppServices services, AppHooks hooks);
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    /// To be called first, so that a second copy ends before it shows anything. False when the program must end.
    static bool becomeOnlyInstance(Workspace& workspace);

    void launch();
    /// Called once, when the program is about to end.
    void willTerminate();

private:
    void setUpApplication();
    void registerLoginItem();
    void logAccountState();
    void wireSession();
    void observeNotifications();
    void checkAccessibility();
    void checkMicrophone();
    void startBackgroundWork();
    void stopMeeting();

    AppServices m_services;
    AppHooks m_hooks;
    HotkeyListener m_hotkey;
    std::vector<NotificationCenter::Observation> m_observations;
    Timer m_accessibilityTimer;
    Timer m_microphoneCheck;
    Timer m_heartbeat;
    Lifetime m_lifetime;
};

} // namespace fenlo
