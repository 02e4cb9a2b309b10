#pragma once

#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "base/NotificationCenter.h"
#include "session/HotkeyListener.h"
#include "session/OnboardingStart.h"

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
    /// Whether there is a service to sign in to.
    bool hasAccounts = false;
    /// Shows the window of the first start, which must call back exactly once: when it has finished or was closed.
    /// Where there are no windows it counts as finished.
    std::function<void(OnboardingStart)> showOnboarding = [](const OnboardingStart& start) { start.onFinish(); };
    /// Brings the window of the first start to the front.
    std::function<void()> presentOnboarding = [] {};
    std::function<void()> showWelcome = [] {};
    /// Opens the home window, or brings it to the front, on the tab with this index.
    std::function<void(int tab)> showHome = [](int) {};
    std::function<void()> closeHome = [] {};
    /// Tells the backend who signed in.
    std::function<void(const std::string& name, const std::string& email)> tellLogin = [](const auto&, const auto&) {};
    /// The same of a user who signed in at an earlier start.
    std::function<void(std::stop_token)> tellRememberedLogin = [](std::stop_token) {};
    /// Told at the start where there could be a user and is none.
    std::function<void()> nobodySignedIn = [] {};
    /// Keeps the sign-in of a remembered user good. Returns at once.
    std::function<void()> refreshSignIn = [] {};
    std::function<void(std::stop_token)> prepareLocalEngine = [](std::stop_token) {};
    std::function<void(std::stop_token)> prepareTranscriber = [](std::stop_token) {};
    std::function<void(std::stop_token)> sendHeartbeat = [](std::stop_token) {};
    std::function<void(std::stop_token)> syncProfile = [](std::stop_token) {};
    /// Whether takes were found that can be tried again.
    std::function<bool()> recoverTakes = [] { return false; };
    std::function<bool()> isMeetingActive = [] { return false; };
    std::function<void()> stopMeeting = [] {};
    /// The same while the program ends: it begins nothing that takes time.
    std::function<void()> stopMeetingForQuit = [] {};
    /// Makes room for a new meeting on the tab of the home window.
    std::function<void()> clearMeeting = [] {};
    /// Tells the user why the hotkey does nothing.
    std::function<void()> refuseDictation = [] {};
    /// Takes up the meetings that an earlier process could not finish; returns at once.
    std::function<void()> recoverMeetings = [] {};
};

/// Decides what the user meets at the start, prepares the program for the first dictation, and reacts to sign-out,
/// sleep and quit.
///
/// Threads: main thread only.
class AppDelegate {
public:
    AppDelegate(AppServices services, AppHooks hooks);
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    /// To be called first, so that a second copy ends before it shows anything. False when the program must end; the
    /// running copy shows itself then.
    static bool becomeOnlyInstance(Workspace& workspace);

    void launch();
    /// Called once, when the program is about to end.
    void willTerminate();

private:
    enum class Stage {
        deciding, // whether the user has to do something first
        firstStart,
        ready,
    };

    void registerLoginItem();
    void wireMenu();
    void showItself();
    bool hasAccount() const;
    void askForAccount();
    void decide(bool needsLogin);
    std::function<void(const std::string& name, const std::string& email)> tellsLogin(const char* what);
    void beginFirstStart(bool needsLogin);
    void setUpApplication();
    void signedOut();
    void signIn();
    void showLogin(OnboardingStart start);
    void refreshSignIn();
    void wireSession();
    void observeNotifications();
    void wireTriggers();
    void limitTrigger();
    void pauseHotkey();
    void resumeHotkey();
    void checkAccessibility();
    void checkMicrophone();
    void startBackgroundWork();
    void toggleMeeting();
    void stopMeeting();

    AppServices m_services;
    AppHooks m_hooks;
    HotkeyListener m_hotkey;
    Stage m_stage = Stage::deciding;
    bool m_wasCalled = false; // to show itself, while it was still deciding
    std::vector<NotificationCenter::Observation> m_observations;
    Timer m_keyringLimit;
    Timer m_triggerLimit;
    Timer m_accessibilityTimer;
    Timer m_microphoneCheck;
    Timer m_heartbeat;
    Timer m_signInRefresh;
    Lifetime m_lifetime;
};

} // namespace fenlo
