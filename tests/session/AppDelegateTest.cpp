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

TEST_F(Startup, GoesStraightToDictation) {
    launch();
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

TEST_F(Startup, SettingsChooseTheEngineAndTheProfile) {
    config.update([](Settings& s) { s.offlineMode = true, s.profession = "doctor"; });
    launch();
    EXPECT_EQ(prepared, std::vector<std::string>{"local"});
    EXPECT_EQ(profiles, 1);
}

TEST_F(Startup, MissingAccessibilityIsAskedForAndNoticedWhenItComes) {
    accessibility.isTrusted = false;
    keys.eventTapWorks = false;
    launch();
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

TEST_F(Startup, LinesOfTheLog) {
    const test::LogCapture logged;
    ASSERT_TRUE(files::makePrivateDirectory(files::dataDirectory()));
    workspace.loginError = "disk full";
    accessibility.isTrusted = keys.eventTapWorks = false;
    launch();
    mainQueue.advance(0.9);
    EXPECT_FALSE(logged.contains("[Fenlo] Microphone access OK")) << "asked after a second";
    accessibility.isTrusted = keys.eventTapWorks = true;
    mainQueue.advance(3.0);
    ASSERT_TRUE(files::writeAtomically(files::dataDirectory() / ".onboarded", ""));
    workspace.loginError.reset();
    notifications.post(notification::hotkeyChanged, "hyper");
    workspace.isOnlyInstance = false;
    EXPECT_FALSE(AppDelegate::becomeOnlyInstance(workspace));
    launch();
    for (const char* line :
         {"Launch at login: registration failed — disk full", "Launch at login: registered",
          "Startup: needsLogin=true needsOnboarding=true", "Startup: needsLogin=true needsOnboarding=false",
          "Hotkey monitors registered: global=true, local=true, eventTap=false",
          "Hotkey monitors registered: global=true, local=true, eventTap=true",
          "Accessibility not granted — requesting...", "Accessibility granted. Hotkey listener active.",
          "Microphone access OK", "Ready.", "Hold [Left Control] to dictate", "Hotkey changed to: hyper",
          "Another instance is already running. Exiting."})
        EXPECT_TRUE(logged.contains("[Fenlo] " + std::string(line))) << line;
    std::filesystem::remove(files::dataDirectory() / ".onboarded");
}
