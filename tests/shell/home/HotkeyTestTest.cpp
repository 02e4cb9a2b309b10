#include "shell/home/HotkeyTest.h"
#include "base/NotificationCenter.h"
#include "platform/KeyCodes.h"
#include "settings/Config.h"
#include "support/FakeKeyEvents.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

class PressItNow : public ::testing::Test {
protected:
    using State = HotkeyTest::State;

    PressItNow() {
        dictation.start();
        dictation.onPress = [this] { ++takes; };
    }
    void press() { keys.change(mask::control, key::controlLeft); }
    void release() {
        keys.change(0, key::controlLeft);
        queue.runPosted();
    }

    const TemporaryFolder home;
    VirtualClock clock;
    VirtualMainQueue queue{clock};
    Config config{home / "config.json", clock};
    FakeKeyEvents keys;
    NotificationCenter notifications;
    HotkeyListener dictation{keys, "ctrl_l"};
    const NotificationCenter::Observation pause =
        notifications.observe(notification::hotkeyPause, [this](const auto&) { dictation.stop(); });
    const NotificationCenter::Observation resume =
        notifications.observe(notification::hotkeyResume, [this](const auto&) { dictation.start(); });
    int takes = 0;
    HotkeyTest test{config, keys, notifications, queue};
};

} // namespace

TEST_F(PressItNow, PressAndReleaseAreShownAndStartNoTake) {
    test.begin();
    EXPECT_EQ(test.line(), "Hold Left Control now, then let go.");
    press();
    EXPECT_EQ(test.state(), State::held);
    queue.advance(60);
    EXPECT_EQ(test.state(), State::held) << "as long as the user likes";
    release();
    EXPECT_EQ(test.state(), State::heard);
    EXPECT_EQ(takes, 0);
    press();
    EXPECT_EQ(takes, 1) << "dictation goes on";
}

TEST_F(PressItNow, AShortcutCountsAsHeard) {
    test.begin();
    press();
    keys.keyDown(key::c);
    queue.runPosted();
    EXPECT_EQ(test.state(), State::heard);
    test.begin();
    press();
    keys.keyDown(key::space);
    release();
    EXPECT_EQ(test.state(), State::heard);
}

TEST_F(PressItNow, DictationComesBackWhateverHappens) {
    test.begin();
    queue.advance(15);
    EXPECT_EQ(test.state(), State::unheard);
    press();
    EXPECT_EQ(takes, 1);
    release();

    test.begin();
    test.begin();
    test.end();
    EXPECT_EQ(test.line(), "");
    press();
    EXPECT_EQ(takes, 2);
    release();

    keys.missingKey = key::controlLeft;
    test.begin();
    EXPECT_EQ(test.state(), State::missing);
    press();
    EXPECT_EQ(takes, 3);
}

TEST_F(PressItNow, WhatTakesTheKeysPlaceIsTested) {
    keys.substitute = "Ctrl+Alt+D";
    keys.missingKey = key::controlLeft; // no key is heard there
    test.begin();
    EXPECT_EQ(test.line(), "Hold Ctrl+Alt+D now, then let go.");
    keys.trigger(Trigger::press);
    EXPECT_EQ(test.state(), State::held);
    keys.trigger(Trigger::release);
    queue.runPosted();
    EXPECT_EQ(test.line(), "Fenlo heard Ctrl+Alt+D.");
    test.begin();
    queue.advance(15);
    EXPECT_EQ(test.line(), "Fenlo did not hear Ctrl+Alt+D. `fenlo doctor` tells how to set it up.");
}
