#include "session/AppDelegate.h"
#include "base/Files.h"
#include "platform/KeyCodes.h"
#include "session/OnboardingMarks.h"
#include "settings/Keychain.h"
#include "support/FakeSecureStore.h"
#include "support/LogCapture.h"
#include "support/SessionFixture.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>

using namespace fenlo;

namespace {

void expectInOrder(const test::LogCapture& logged, const std::vector<std::string>& expected) {
    std::vector<std::string> found;
    for (const std::string& line : logged.lines())
        if (std::ranges::find(expected, line) != expected.end())
            found.push_back(line);
    EXPECT_EQ(found, expected);
}

class Startup : public test::SessionFixture {
protected:
    Startup() { mark(true); }

    /// Whether the first start has been gone through.
    void mark(bool isOnboarded) {
        std::filesystem::remove(files::dataDirectory() / ".without_account");
        std::filesystem::remove(files::dataDirectory() / ".onboarded");
        if (isOnboarded) {
            ASSERT_TRUE(OnboardingMarks::setOnboarded());
        }
    }
    bool hears() {
        keys.change(mask::control, key::controlLeft);
        const bool isRecording = session.isRecording();
        keys.change(0, key::controlLeft);
        finish();
        return isRecording;
    }

    void launch() {
        appHooks.terminate = [] {};
        appHooks.sendHeartbeat = [this](std::stop_token) { ++heartbeats; };
        appHooks.syncProfile = [this](std::stop_token) { ++profiles; };
        appHooks.prepareTranscriber = [this](std::stop_token) { prepared.push_back("cloud"); };
        appHooks.prepareLocalEngine = [this](std::stop_token) { prepared.push_back("local"); };
        appHooks.isMeetingActive = [this] { return meetingActive; };
        appHooks.recoverTakes = [] { return false; };
        appHooks.stopMeeting = [this] { ++meetingsStopped; };
        appHooks.stopMeetingForQuit = [this] { ++meetingsLeft; };
        appHooks.clearMeeting = [this] { shown.push_back("no meeting"); };
        appHooks.refuseDictation = [this] { shown.push_back("refusal"); };
        appHooks.recoverMeetings = [this] { ++meetingsRecovered; };
        appHooks.showOnboarding = [this](OnboardingStart start) { onboarding = std::move(start); };
        appHooks.presentOnboarding = [this] { shown.push_back("onboarding"); };
        appHooks.showWelcome = [this] { shown.push_back("welcome"); };
        appHooks.showHome = [this](int tab) { shown.push_back("home " + std::to_string(tab)); };
        appHooks.closeHome = [this] { shown.push_back("no home"); };
        appHooks.refreshSignIn = [this] { ++refreshes; };
        appHooks.tellLogin = [this](const auto& name, const auto& email) { logins.push_back(name + " " + email); };
        appHooks.tellRememberedLogin = [this](std::stop_token) { ++remembered; };
        appHooks.nobodySignedIn = [this] { ++nobodies; };
        delegate =
            std::make_unique<AppDelegate>(AppServices{config, mainQueue, background, notifications, keys, accessibility,
                                                      workspace, keychain, recorder, overlay, menuBar, session},
                                          std::move(appHooks));
        delegate->launch();
    }
    void launchAndWait() {
        launch();
        finish();
    }

    test::FakeSecureStore store;
    Keychain keychain{store};
    AppHooks appHooks;
    int nobodies = 0, refreshes = 0, heartbeats = 0, profiles = 0, remembered = 0, meetingsStopped = 0,
        meetingsLeft = 0, meetingsRecovered = 0;
    std::vector<std::string> prepared;
    std::optional<OnboardingStart> onboarding;
    std::vector<std::string> shown, logins;
    std::unique_ptr<AppDelegate> delegate;
};

} // namespace

TEST_F(Startup, GoesStraightToDictation) {
    launchAndWait();
    EXPECT_EQ(prepared, std::vector<std::string>{"cloud"});
    EXPECT_EQ(heartbeats, 1);
    EXPECT_EQ(profiles, 0) << "no profession is chosen";
    EXPECT_TRUE(recorder.hasEngine());
    EXPECT_FALSE(pills.isShown());
    EXPECT_FALSE(onboarding);
    EXPECT_TRUE(shown.empty());

    transcript = "Hello";
    keys.change(mask::control, key::controlLeft);
    speak(1.0);
    keys.change(0, key::controlLeft);
    finish();
    EXPECT_EQ(pasted(), std::vector<std::string>{"Hello"});

    mainQueue.advance(21600 - clock.slept);
    background.runAll();
    EXPECT_EQ(heartbeats, 2);
}

TEST_F(Startup, SettingsChooseTheEngineAndTheProfile) {
    config.update([](Settings& s) { s.offlineMode = true, s.profession = "doctor"; });
    launchAndWait();
    EXPECT_EQ(prepared, std::vector<std::string>{"local"});
    EXPECT_EQ(profiles, 1);
}

TEST_F(Startup, MissingAccessibilityIsAskedForAndNoticedWhenItComes) {
    accessibility.isTrusted = false;
    keys.eventTapWorks = false;
    launchAndWait();
    EXPECT_EQ(accessibility.requests, 1);
    mainQueue.advance(6.0);
    accessibility.isTrusted = true;
    keys.eventTapWorks = true;
    mainQueue.advance(3.0);
    keys.change(mask::control, key::controlLeft);
    keys.keyDown(key::a);
    EXPECT_FALSE(session.isRecording()) << "keys are heard again, so that this is a shortcut";
}

TEST_F(Startup, NotificationsSteerTheHotkey) {
    launchAndWait();
    notifications.post(notification::hotkeyPause);
    keys.change(mask::control, key::controlLeft);
    EXPECT_FALSE(session.isRecording());
    notifications.post(notification::hotkeyResume);
    notifications.post(notification::hotkeyChanged); // without a name: ignored
    notifications.post(notification::hotkeyChanged, "shift_l");
    keys.change(mask::control, key::controlLeft);
    EXPECT_FALSE(session.isRecording());
    keys.change(mask::shift, key::shiftLeft);
    EXPECT_TRUE(session.isRecording());
    workspace.lockScreen();
    EXPECT_FALSE(session.isRecording());
}

TEST_F(Startup, ATriggeredTakeWaitsForItsReleaseForALimitedTime) {
    EXPECT_EQ(keys.trigger(Trigger::press), TriggerOutcome::notListening);
    launchAndWait();
    transcript = "Hello";
    keys.trigger(Trigger::press);
    speak(1.0);
    keys.trigger(Trigger::release);
    finish();
    EXPECT_EQ(pasted(), std::vector<std::string>{"Hello"});

    keys.trigger(Trigger::press); // and the desktop loses its release
    speak(1.0);
    mainQueue.advance(290);
    EXPECT_TRUE(session.isRecording());
    mainQueue.advance(10);
    EXPECT_FALSE(session.isRecording());
    mainQueue.runPosted();
    EXPECT_THAT(pillText(), ::testing::HasSubstr("No release was heard"));
    finish();
    EXPECT_EQ(pasted().size(), 2U) << "what was said is not lost";

    keys.trigger(Trigger::toggle);
    speak(1.0);
    mainQueue.advance(900); // hands off
    EXPECT_TRUE(session.isRecording());
    keys.trigger(Trigger::cancel);
    EXPECT_FALSE(session.isRecording());
    finish();
    EXPECT_EQ(pasted().size(), 2U);
}

TEST_F(Startup, TriggersFollowTheSettingAndTheMeeting) {
    config.update([](Settings& s) { s.continuousMode = true; });
    launchAndWait();
    transcript = "Hello";
    keys.trigger(Trigger::toggle);
    EXPECT_TRUE(session.isRecording());
    speak(1.0);
    keys.trigger(Trigger::toggle);
    EXPECT_TRUE(session.isProcessing());
    EXPECT_EQ(keys.trigger(Trigger::cancel), TriggerOutcome::done);
    EXPECT_FALSE(session.isProcessing());
    finish();
    EXPECT_TRUE(pasted().empty());
    meetingActive = true;
    keys.trigger(Trigger::toggle);
    EXPECT_FALSE(session.isRecording());
    EXPECT_EQ(shown, (std::vector<std::string>{"refusal"}));
}

TEST_F(Startup, MenuAndHotkeyFollowTheMeeting) {
    launchAndWait();
    EXPECT_EQ(meetingsRecovered, 1);
    shown.clear();
    menuBar.onToggleMeeting();
    EXPECT_EQ(shown, (std::vector<std::string>{"no meeting", "home 1"}));
    meetingActive = true;
    menuBar.onToggleMeeting();
    EXPECT_EQ(meetingsStopped, 1);
    shown.clear();
    EXPECT_FALSE(hears());
    EXPECT_EQ(shown, (std::vector<std::string>{"refusal"}));
}

TEST_F(Startup, SleepAndQuitStopARunningMeetingOnly) {
    launchAndWait();
    workspace.willSleep();
    EXPECT_EQ(meetingsStopped, 0);
    meetingActive = true;
    workspace.willSleep();
    delegate->willTerminate();
    EXPECT_EQ(meetingsStopped, 1);
    EXPECT_EQ(meetingsLeft, 1) << "the end of the program begins no notes";
    keys.change(mask::control, key::controlLeft);
    EXPECT_FALSE(session.isRecording());
}

TEST_F(Startup, LinesOfTheLog) {
    const test::LogCapture logged;
    workspace.loginError = "disk full";
    accessibility.isTrusted = keys.eventTapWorks = false;
    launchAndWait();
    mainQueue.advance(0.9);
    EXPECT_FALSE(logged.contains("[Fenlo] Microphone access OK")) << "asked after a second";
    accessibility.isTrusted = keys.eventTapWorks = true;
    mainQueue.advance(3.0);
    workspace.loginError.reset();
    notifications.post(notification::hotkeyChanged, "hyper");
    workspace.isOnlyInstance = false;
    EXPECT_FALSE(AppDelegate::becomeOnlyInstance(workspace));
    launchAndWait();
    for (const char* line :
         {"Launch at login: registration failed — disk full", "Launch at login: registered",
          "Startup: needsLogin=false needsOnboarding=false",
          "Hotkey monitors registered: global=true, local=true, eventTap=false",
          "Hotkey monitors registered: global=true, local=true, eventTap=true",
          "Accessibility not granted — requesting...", "Accessibility granted. Hotkey listener active.",
          "Microphone access OK", "Ready.", "Hold [Left Control] to dictate", "Hotkey changed to: hyper",
          "Another instance is already running. Exiting."})
        EXPECT_TRUE(logged.contains("[Fenlo] " + std::string(line))) << line;
}

TEST_F(Startup, FirstStartComesBeforeTheRestOfTheProgram) {
    const test::LogCapture logged;
    mark(false);
    launchAndWait();
    ASSERT_TRUE(onboarding);
    EXPECT_TRUE(onboarding->skipLogin) << "there is nobody to sign in to";
    EXPECT_FALSE(hears());
    EXPECT_EQ(heartbeats, 0);
    workspace.call();
    statusItem.find("Open Fenlo")->action();
    EXPECT_EQ(shown, (std::vector<std::string>{"onboarding", "onboarding"}));
    ASSERT_TRUE(statusItem.find("Quit Fenlo")->action);

    onboarding->onFinish();
    finish();
    EXPECT_TRUE(hears());
    EXPECT_EQ(heartbeats, 1);
    workspace.call();
    EXPECT_EQ(shown, (std::vector<std::string>{"onboarding", "onboarding", "welcome", "home 4"}));
    expectInOrder(logged, {"[Fenlo] Startup: needsLogin=false needsOnboarding=true",
                           "[Fenlo] Showing onboarding (already logged in)", "[Fenlo] Setup complete", "[Fenlo] Ready.",
                           "[Fenlo] Hold [Left Control] to dictate"});
    EXPECT_FALSE(logged.contains("[Fenlo] Not authenticated — showing login"));
}

TEST_F(Startup, WindowOfTheFirstStartThatIsClosedLeavesAProgramThatDictates) {
    mark(false);
    launch();
    onboarding->onClose();
    EXPECT_TRUE(hears());
    EXPECT_TRUE(shown.empty()) << "nobody is welcomed";
}

TEST_F(Startup, AccountDecidesBeforeTheMarkerDoes) {
    const test::LogCapture logged;
    appHooks.hasAccounts = true;
    launch();
    workspace.call(); // answered by the window that comes
    EXPECT_FALSE(onboarding) << "the keyring is asked on a worker";
    finish();
    ASSERT_TRUE(onboarding);
    EXPECT_FALSE(onboarding->skipLogin);
    onboarding->onLogin("Ada", "ada@example.org");
    onboarding->onFinish();
    EXPECT_EQ(logins, std::vector<std::string>{"Ada ada@example.org"});
    EXPECT_EQ(remembered, 0) << "it is told as it comes";
    EXPECT_EQ(nobodies, 1);
    EXPECT_TRUE(hears());
    expectInOrder(logged,
                  {"[Fenlo] Startup: needsLogin=true needsOnboarding=false",
                   "[Fenlo] Not authenticated — showing login", "[Fenlo] Logged in as Ada", "[Fenlo] Setup complete"});
}

TEST_F(Startup, AccountIsNotAskedForWhereItIsKnownOrUnwanted) {
    appHooks.hasAccounts = true;
    store.values["google_refresh_token"] = "token";
    mark(false);
    launchAndWait();
    ASSERT_TRUE(onboarding);
    EXPECT_TRUE(onboarding->skipLogin);
    EXPECT_EQ(remembered, 1);
    EXPECT_EQ(nobodies, 0);

    store.values.clear();
    mark(true);
    ASSERT_TRUE(OnboardingMarks::setWithoutAccount(true));
    onboarding.reset();
    appHooks = {}; // the first program has them
    appHooks.hasAccounts = true;
    launchAndWait();
    EXPECT_FALSE(onboarding);
    EXPECT_EQ(remembered, 1) << "nothing of who was signed in before";
    EXPECT_EQ(nobodies, 1);
    EXPECT_TRUE(hears());
}

TEST_F(Startup, SilentKeyringHoldsTheStartUpForAWhileOnly) {
    appHooks.hasAccounts = true;
    launch();
    workspace.call();
    mainQueue.advance(3.0);
    EXPECT_EQ(shown, std::vector<std::string>{"home 4"}) << "as was asked meanwhile";
    EXPECT_TRUE(hears()); // and the keyring answers in it, too late to matter
    EXPECT_FALSE(onboarding);
}

TEST_F(Startup, KeyringThatIsLockedHidesTheLoginFromNobodyNew) {
    appHooks.hasAccounts = true;
    store.isAvailable = false;
    launchAndWait();
    EXPECT_FALSE(onboarding) << "who signed in once is not asked again";
    EXPECT_TRUE(hears());

    for (const double waited : {0.0, 3.0}) {
        mark(false);
        onboarding.reset();
        appHooks = {};
        appHooks.hasAccounts = true;
        launch();
        mainQueue.advance(waited);
        finish();
        ASSERT_TRUE(onboarding);
        EXPECT_FALSE(onboarding->skipLogin);
    }
}

TEST_F(Startup, SignOutPausesDictationUntilTheLoginEnds) {
    const test::LogCapture logged;
    launchAndWait();
    const Settings before = config.get();
    notifications.post(notification::userDidSignOut);
    EXPECT_EQ(shown, std::vector<std::string>{"no home"});
    ASSERT_TRUE(onboarding);
    EXPECT_FALSE(onboarding->skipLogin);
    EXPECT_FALSE(hears());
    onboarding->onLogin("Ada", "");
    onboarding->onFinish();
    EXPECT_TRUE(hears());
    EXPECT_EQ(shown.size(), 1u) << "nobody is welcomed";
    EXPECT_TRUE(logged.contains("[Fenlo] Re-logged in as Ada"));
    EXPECT_EQ(config.get().hotkey, before.hotkey);
}

TEST_F(Startup, LoginEndsATakeAndDictationHearsNothingUntilItGoes) {
    config.update([](Settings& settings) { settings.continuousMode = true; });
    transcript = "what was said";
    launchAndWait();
    for (const char* way : {notification::userDidSignOut, notification::userWantsSignIn}) {
        keys.change(mask::control, key::controlLeft); // and held while the user clicks
        speak(2.0);
        ASSERT_TRUE(session.isRecording());
        notifications.post(way);
        EXPECT_FALSE(session.isRecording()) << "nothing else could end it";
        finish();
        notifications.post(notification::hotkeyResume); // by a window that the login replaced
        EXPECT_FALSE(hears());
        onboarding->onClose();
        keys.change(mask::control, key::controlLeft);
        EXPECT_TRUE(session.isRecording()) << "the first press counts";
        session.hotkeyPaused();
        keys.change(0, key::controlLeft);
        finish();
    }
    EXPECT_EQ(records, (std::vector<std::string>{transcript, transcript}));
}

TEST_F(Startup, LoginThatIsClosedAfterASignOutLeavesAProgramThatDictates) {
    launchAndWait();
    notifications.post(notification::userDidSignOut);
    workspace.call();
    EXPECT_EQ(shown, (std::vector<std::string>{"no home", "onboarding"}));
    onboarding->onClose();
    EXPECT_TRUE(hears());
    workspace.call();
    EXPECT_EQ(shown.back(), "home 4");
}

TEST_F(Startup, LoginComesForWhoWentWithoutAnAccount) {
    const test::LogCapture logged;
    launchAndWait();
    notifications.post(notification::userWantsSignIn);
    ASSERT_TRUE(onboarding);
    EXPECT_TRUE(shown.empty()) << "the home window stays";
    EXPECT_FALSE(hears());
    notifications.post(notification::userWantsSignIn);
    EXPECT_EQ(shown, std::vector<std::string>{"onboarding"}) << "to the front";
    onboarding->onLogin("Ada", "ada@example.org");
    onboarding->onFinish();
    EXPECT_EQ(logins, std::vector<std::string>{"Ada ada@example.org"});
    EXPECT_TRUE(hears());
    EXPECT_TRUE(logged.contains("[Fenlo] Logged in as Ada"));
}

TEST_F(Startup, SignInIsKeptGoodEveryHalfHourForWhoHasAnAccount) {
    launchAndWait();
    mainQueue.advance(1800);
    EXPECT_EQ(refreshes, 0) << "there is nobody to sign in to";

    appHooks = {};
    appHooks.hasAccounts = true;
    store.values["google_refresh_token"] = "token";
    launchAndWait();
    EXPECT_EQ(refreshes, 1);
    mainQueue.advance(3600);
    EXPECT_EQ(refreshes, 3);
    ASSERT_TRUE(OnboardingMarks::setWithoutAccount(true));
    mainQueue.advance(1800);
    EXPECT_EQ(refreshes, 3);
}
