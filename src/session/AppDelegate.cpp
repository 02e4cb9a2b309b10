#include "session/AppDelegate.h"

#include "account/AccountItems.h"
#include "audio/AudioRecorder.h"
#include "base/Background.h"
#include "base/Log.h"
#include "platform/Accessibility.h"
#include "platform/KeyCodes.h"
#include "platform/Workspace.h"
#include "session/DictationSession.h"
#include "session/OnboardingMarks.h"
#include "settings/Config.h"
#include "settings/Keychain.h"
#include "shell/MenuBarController.h"
#include "shell/OverlayWindow.h"

namespace fenlo {

namespace {

constexpr char accessibilityGranted[] = "Accessibility granted. Hotkey listener active.";
constexpr double accessibilityPoll = 3.0;    // seconds
constexpr double microphoneCheckDelay = 1.0; // seconds after set-up
constexpr double heartbeatInterval = 21600;  // seconds
constexpr double signInInterval = 1800;      // seconds
constexpr double keyringPatience = 3.0;      // seconds that the start waits for the keyring
constexpr double triggerLimit = 300;         // seconds that a shortcut's release is waited for
constexpr int meetingTab = 1;                // of the home window, as the next
constexpr int historyTab = 4;

} // namespace

AppDelegate::AppDelegate(AppServices services, AppHooks hooks)
    : m_services(services), m_hooks(std::move(hooks)), m_hotkey(services.keys, services.config.get().hotkey) {}

bool AppDelegate::becomeOnlyInstance(Workspace& workspace) {
    if (workspace.becomeOnlyInstance())
        return true;
    logInfo("Another instance is already running. Exiting.");
    if (!workspace.callOtherInstance())
        logInfo("The running instance does not answer");
    return false;
}

void AppDelegate::launch() {
    registerLoginItem();
    wireMenu();
    m_services.workspace.onCalled(m_lifetime.bind([this] { showItself(); }));
    if (hasAccount())
        askForAccount();
    else
        decide(false);
}

/// Before the set-up too, so that the user can end the program and find its window.
void AppDelegate::wireMenu() {
    m_services.menuBar.onQuit = m_hooks.terminate;
    m_services.menuBar.onShowHistory = [this] { showItself(); };
    m_services.menuBar.refreshMenu();
}

void AppDelegate::showItself() {
    switch (m_stage) {
    case Stage::deciding:
        m_wasCalled = true;
        break;
    case Stage::firstStart:
        m_hooks.presentOnboarding();
        break;
    case Stage::ready:
        m_hooks.showHome(historyTab);
    }
}

void AppDelegate::registerLoginItem() {
    if (m_services.workspace.isLoginItem())
        return;
    if (const auto error = m_services.workspace.registerLoginItem())
        logInfo("Launch at login: registration failed — {}", *error);
    else
        logInfo("Launch at login: registered");
}

/// The secure store may wait for the user to unlock it, so it is asked on a worker. Where it is silent or locked nobody
/// knows who is signed in: who went through the first start is not asked again, and who did not is.
void AppDelegate::askForAccount() {
    m_keyringLimit =
        m_services.mainQueue.postAfter(keyringPatience, [this] { decide(!OnboardingMarks::isOnboarded()); });
    m_services.background.run([this](std::stop_token) {
        Keychain& keychain = m_services.keychain;
        const bool needsLogin = !keychain.load(accountItem::refreshToken).has_value() &&
                                (keychain.answers() || !OnboardingMarks::isOnboarded());
        m_services.mainQueue.post(m_lifetime.bind([this, needsLogin] { decide(needsLogin); }));
    });
}

void AppDelegate::decide(bool needsLogin) {
    if (m_stage != Stage::deciding)
        return;
    m_keyringLimit.cancel();
    const bool needsOnboarding = !OnboardingMarks::isOnboarded();
    logInfo("Startup: needsLogin={} needsOnboarding={}", needsLogin, needsOnboarding);
    if (hasAccount() && !needsLogin)
        m_services.background.run(m_hooks.tellRememberedLogin);
    else if (m_hooks.hasAccounts)
        m_hooks.nobodySignedIn();
    if (needsLogin || needsOnboarding) {
        beginFirstStart(needsLogin);
        return;
    }
    setUpApplication();
    if (m_wasCalled)
        showItself();
}

std::function<void(const std::string&, const std::string&)> AppDelegate::tellsLogin(const char* what) {
    return [this, what](const std::string& name, const std::string& email) {
        logInfo("{} as {}", what, name);
        m_hooks.tellLogin(name, email);
    };
}

void AppDelegate::beginFirstStart(bool needsLogin) {
    m_stage = Stage::firstStart;
    if (needsLogin)
        logInfo("Not authenticated — showing login");
    else
        logInfo("Showing onboarding (already logged in)");
    OnboardingStart start;
    start.skipLogin = !needsLogin;
    start.onLogin = tellsLogin("Logged in");
    start.onFinish = [this] {
        logInfo("Setup complete");
        setUpApplication();
        m_hooks.showWelcome();
    };
    start.onClose = [this] {
        logInfo("Onboarding was closed; it comes again at the next start");
        setUpApplication();
    };
    m_hooks.showOnboarding(std::move(start));
}

void AppDelegate::setUpApplication() {
    m_stage = Stage::ready;
    wireSession();
    if (!m_services.recorder.hasEngine()) {
        m_services.recorder.registerDeviceListener();
        m_services.recorder.warmUp();
    }
    m_hotkey.start();
    observeNotifications();
    checkAccessibility();
    checkMicrophone();
    startBackgroundWork();

    const std::string keyName = m_services.config.get().hotkey;
    logInfo("Ready.");
    if (!m_services.keys.hotkeySubstitute().empty()) {
        logInfo(
            "No key is heard here. Hold a shortcut of the desktop to dictate; `fenlo doctor` tells which, or how to "
            "get one");
        return;
    }
    logInfo("Hold [{}] to dictate", hotkeyLabel(keyName));
    if (const Hotkey* hotkey = findHotkey(keyName); !hotkey)
        logError("'{}' is no hotkey; choose another \"hotkey\" in {}", keyName, Config::defaultFile().string());
    else if (!m_services.keys.canDeliver(hotkey->keyCode))
        logError("this desktop does not deliver the {} key; choose another \"hotkey\" in {}", hotkeyLabel(keyName),
                 Config::defaultFile().string());
}

void AppDelegate::wireSession() {
    DictationSession& session = m_services.session;
    m_services.menuBar.onTryAgain = [&session] { session.tryAgain(); };
    m_services.menuBar.onToggleMeeting = [this] { toggleMeeting(); };
    m_services.menuBar.refreshMenu();
    m_services.overlay.onCancel = [&session] { session.cancelProcessing(); };
    m_services.recorder.setOnSilence([&session] { session.silenceDetected(); });
    m_hotkey.onPress = [this, &session] {
        session.hotkeyPressed();
        limitTrigger();
        if (m_hooks.isMeetingActive())
            m_hooks.refuseDictation();
    };
    m_hotkey.onRelease = [&session] { session.hotkeyReleased(); };
    m_hotkey.onCommandRelease = [&session] { session.hotkeyReleased(); };
    m_hotkey.onCommandActivated = [&session] { session.commandActivated(); };
    m_hotkey.onChordDetected = [&session] { session.chordDetected(); };
    wireTriggers();
}

void AppDelegate::wireTriggers() {
    DictationSession& session = m_services.session;
    m_hotkey.isRecording = [&session] { return session.isRecording(); };
    m_hotkey.pressesToggle = [this] { return m_services.config.get().continuousMode; };
    m_hotkey.onCancel = [this, &session] {
        const bool isWaiting = session.isProcessing(), isAnswered = m_services.overlay.isResultShown();
        if (isWaiting)
            session.cancelProcessing();
        else if (isAnswered)
            m_services.overlay.hide();
        return isWaiting || isAnswered;
    };
}

/// The release of a desktop's shortcut may get lost, and nothing tells that the key is up.
void AppDelegate::limitTrigger() {
    m_triggerLimit.cancel();
    if (!m_hotkey.awaitsRelease())
        return;
    m_triggerLimit = m_services.mainQueue.postAfter(triggerLimit, [this] {
        const bool wasRecording = m_services.session.isRecording();
        if (!m_hotkey.awaitsRelease())
            return;
        m_hotkey.endTriggered();
        if (!wasRecording || m_services.session.isRecording())
            return;
        logInfo("No release of the shortcut was heard: the take ends here");
        m_services.overlay.showNotice({"No release was heard", "Stopped after 5 minutes"});
    });
}

void AppDelegate::observeNotifications() {
    NotificationCenter& centre = m_services.notifications;
    m_observations = {
        centre.observe(notification::hotkeyChanged,
                       [this](const auto& keyName) {
                           if (keyName)
                               m_hotkey.setKey(*keyName);
                       }),
        centre.observe(notification::hotkeyPause, [this](const auto&) { pauseHotkey(); }),
        centre.observe(notification::hotkeyResume, [this](const auto&) { resumeHotkey(); }),
        centre.observe(notification::userDidSignOut, [this](const auto&) { signedOut(); }),
        centre.observe(notification::userWantsSignIn, [this](const auto&) { signIn(); }),
        centre.observe(notification::inputDeviceChanged, [this](const auto&) { m_services.menuBar.refreshMenu(); }),
    };
    m_services.workspace.onWillSleep(m_lifetime.bind([this] { stopMeeting(); }));
    m_services.workspace.onScreenLocked(m_lifetime.bind([this] { m_services.session.screenLocked(); }));
}

/// A take under way could not be ended any more; its words are not lost.
void AppDelegate::pauseHotkey() {
    m_services.session.hotkeyPaused();
    m_hotkey.stop();
}

/// Not while the login is there, whose end lets dictation go on.
void AppDelegate::resumeHotkey() {
    if (m_stage == Stage::ready)
        m_hotkey.start();
}

void AppDelegate::checkAccessibility() {
    // Announces assistive technology too, without which some applications publish no controls.
    m_services.accessibility.request();
    if (m_services.accessibility.trusted()) {
        logInfo(accessibilityGranted);
        return;
    }
    logInfo("Accessibility not granted — requesting...");
    m_accessibilityTimer = m_services.mainQueue.every(accessibilityPoll, [this] {
        if (!m_services.accessibility.trusted())
            return;
        logInfo(accessibilityGranted);
        resumeHotkey(); // the key-down stream can be had only now
        m_accessibilityTimer.cancel();
    });
}

void AppDelegate::checkMicrophone() {
    m_microphoneCheck = m_services.mainQueue.postAfter(microphoneCheckDelay, [this] {
        const bool available = m_services.recorder.defaultInputDeviceName().has_value();
        logInfo("Microphone access {}", available ? "OK" : "denied");
    });
}

void AppDelegate::startBackgroundWork() {
    const Settings settings = m_services.config.get();
    m_services.background.run(settings.offlineMode ? m_hooks.prepareLocalEngine : m_hooks.prepareTranscriber);
    m_services.background.run([this](std::stop_token) {
        const bool foundAny = m_hooks.recoverTakes();
        m_services.mainQueue.call([this, foundAny] { m_services.session.takesRecovered(foundAny); });
    });
    m_hooks.recoverMeetings();
    m_services.background.run(m_hooks.sendHeartbeat);
    m_heartbeat =
        m_services.mainQueue.every(heartbeatInterval, [this] { m_services.background.run(m_hooks.sendHeartbeat); });
    refreshSignIn();
    m_signInRefresh = m_services.mainQueue.every(signInInterval, [this] { refreshSignIn(); });
    if (!settings.profession.empty())
        m_services.background.run(m_hooks.syncProfile);
}

/// Who goes without one is not asked for the keyring, and the service hears nothing of who was signed in before.
bool AppDelegate::hasAccount() const {
    return m_hooks.hasAccounts && !OnboardingMarks::isWithoutAccount();
}

void AppDelegate::refreshSignIn() {
    if (hasAccount())
        m_hooks.refreshSignIn();
}

/// The settings and the history stay; only the account is left.
void AppDelegate::signedOut() {
    pauseHotkey();
    m_hooks.closeHome();
    OnboardingStart start;
    start.onLogin = tellsLogin("Re-logged in");
    showLogin(std::move(start));
}

/// By who went without an account so far.
void AppDelegate::signIn() {
    if (m_stage == Stage::firstStart) {
        m_hooks.presentOnboarding();
        return;
    }
    OnboardingStart start;
    start.onLogin = tellsLogin("Logged in");
    showLogin(std::move(start));
}

/// Over the running program, which does not hear the hotkey meanwhile. However the window goes, it hears it again.
void AppDelegate::showLogin(OnboardingStart start) {
    pauseHotkey();
    m_stage = Stage::firstStart;
    start.onFinish = start.onClose = [this] {
        m_stage = Stage::ready;
        resumeHotkey();
        m_services.menuBar.refreshMenu();
    };
    m_hooks.showOnboarding(std::move(start));
}

/// A new meeting is started in its tab, where the user chooses what kind it is.
void AppDelegate::toggleMeeting() {
    if (m_hooks.isMeetingActive()) {
        m_hooks.stopMeeting();
        return;
    }
    m_hooks.clearMeeting();
    m_hooks.showHome(meetingTab);
}

void AppDelegate::stopMeeting() {
    if (m_hooks.isMeetingActive())
        m_hooks.stopMeeting();
}

void AppDelegate::willTerminate() {
    if (m_hooks.isMeetingActive())
        m_hooks.stopMeetingForQuit();
    m_hotkey.stop();
    m_services.session.willTerminate();
}

} // namespace fenlo
