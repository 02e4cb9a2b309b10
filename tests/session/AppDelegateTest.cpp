#include "session/AppDelegate.h"
#include "base/Files.h"
#include "platform/KeyCodes.h"
#include "settings/Keychain.h"
#include "support/FakeSecureStore.h"
#include "support/LogCapture.h"
#include "support/SessionFixture.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace fenlo;

namespace {

class Startup : public test::SessionFixture {
protected:
    void launch() {
        appHooks.terminate = [] {};
        appHooks.sendHeartbeat = [this](std::stop_token) { ++heartbeats; };
        appHooks.syncProfile = [this](std::stop_token) { ++profiles; };
        appHooks.prepareTranscriber = [this](std::stop_token) { prepared.push_back("cloud"); };
        appHooks.prepareLocalEngine = [this](std::stop_token) { prepared.push_back("local"); };
        appHooks.isMeetingActive = [this] { return meetingActive; };
        appHooks.recoverTakes = [] { return false; };
        appHooks.stopMeeting = [this] { ++meetingsStopped; };
        delegate =
            std::make_unique<AppDelegate>(AppServices{config, mainQueue, background, notifications, keys, accessibility,
                                                      workspace, keychain, recorder, overlay, menuBar, session},
                                          std::move(appHooks));
        delegate->launch();
        background.runAll();
    }

    test::FakeSecureStore store;
    Keychain keychain{store};
    AppHooks appHooks;
    int heartbeats = 0, profiles = 0, meetingsStopped = 0;
    std::vector<std::string> prepared;
    std::unique_ptr<AppDelegate> delegate;
};

} // namespace

TEST_F(Startup, ASecondCopyEndsBeforeItShowsAnything) {
    workspace.isOnlyInstance = false;
    const test::LogCapture logged;
    EXPECT_FALSE(AppDelegate::becomeOnlyInstance(workspace));
    EXPECT_TRUE(logged.contains("[Fenlo] Another instance is already running. Exiting."));
}

TEST_F(Startup, GoesStraightToDictation) {
    const test::LogCapture logged;
    launch();
    for (const char* line :
         {"[Fenlo] Launch at login: registered", "[Fenlo] Startup: needsLogin=true needsOnboarding=true",
          "[Fenlo] Hotkey monitors registered: global=true, local=true, eventTap=true",
          "[Fenlo] Accessibility granted. Hotkey listener active.", "[Fenlo] Ready.",
          "[Fenlo] Hold [Left Control] to dictate"})
        EXPECT_TRUE(logged.contains(line)) << line;
    EXPECT_EQ(prepared, std::vector<std::string>{"cloud"});
    EXPECT_EQ(heartbeats, 1);
    EXPECT_EQ(profiles, 0) << "no profession is chosen";
    EXPECT_TRUE(recorder.hasEngine());
    EXPECT_FALSE(pills.isShown());

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

TEST_F(Startup, TheMarkerEndsOnboardingAndSettingsChooseTheEngine) {
    ASSERT_TRUE(files::makePrivateDirectory(files::dataDirectory()));
    ASSERT_TRUE(files::writeAtomically(files::dataDirectory() / ".onboarded", ""));
    config.update([](Settings& s) { s.offlineMode = true, s.profession = "doctor"; });
    const test::LogCapture logged;
    launch();
    EXPECT_TRUE(logged.contains("[Fenlo] Startup: needsLogin=true needsOnboarding=false"));
    EXPECT_EQ(prepared, std::vector<std::string>{"local"});
    EXPECT_EQ(profiles, 1);
    std::filesystem::remove(files::dataDirectory() / ".onboarded");
}

TEST_F(Startup, LaunchAtLoginIsRegisteredOnceAndItsFailureIgnored) {
    workspace.loginError = "disk full";
    const test::LogCapture logged;
    launch();
    EXPECT_TRUE(logged.contains("[Fenlo] Launch at login: registration failed — disk full"));
    EXPECT_TRUE(logged.contains("[Fenlo] Ready."));
    workspace.loginItem = true;
    const test::LogCapture later;
    launch();
    EXPECT_FALSE(later.containsPrefix("[Fenlo] Launch at login"));
}

TEST_F(Startup, MissingAccessibilityIsAskedForAndNoticedWhenItComes) {
    accessibility.isTrusted = false;
    keys.eventTapWorks = false;
    const test::LogCapture logged;
    launch();
    EXPECT_TRUE(logged.contains("[Fenlo] Accessibility not granted — requesting..."));
    EXPECT_EQ(accessibility.requests, 1);
    mainQueue.advance(6.0);
    EXPECT_FALSE(logged.contains("[Fenlo] Accessibility granted. Hotkey listener active."));
    accessibility.isTrusted = true;
    keys.eventTapWorks = true;
    mainQueue.advance(3.0);
    EXPECT_TRUE(logged.contains("[Fenlo] Accessibility granted. Hotkey listener active."));
    EXPECT_TRUE(logged.contains("[Fenlo] Hotkey monitors registered: global=true, local=true, eventTap=true"));
}

TEST_F(Startup, TheMicrophoneIsCheckedASecondLater) {
    const test::LogCapture logged;
    launch();
    mainQueue.advance(0.9);
    EXPECT_FALSE(logged.contains("[Fenlo] Microphone access OK"));
    mainQueue.advance(0.2);
    EXPECT_TRUE(logged.contains("[Fenlo] Microphone access OK"));
}

TEST_F(Startup, NotificationsSteerTheHotkey) {
    launch();
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

TEST_F(Startup, SleepAndQuitStopARunningMeetingOnly) {
    launch();
    workspace.willSleep();
    EXPECT_EQ(meetingsStopped, 0);
    meetingActive = true;
    workspace.willSleep();
    delegate->willTerminate();
    EXPECT_EQ(meetingsStopped, 2);
    keys.change(mask::control, key::controlLeft);
    EXPECT_FALSE(session.isRecording());
}
