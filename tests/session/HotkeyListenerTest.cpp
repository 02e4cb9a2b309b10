#include "session/HotkeyListener.h"
#include "platform/KeyCodes.h"
#include "support/FakeKeyEvents.h"

#include <gtest/gtest.h>
#include <vector>

using namespace fenlo;

namespace {

class Hotkeys : public ::testing::Test {
protected:
    void listenTo(const std::string& name) {
        listener = std::make_unique<HotkeyListener>(keys, name);
        listener->onPress = [this] { seen.push_back("press"); };
        listener->onRelease = [this] { seen.push_back("release"); };
        listener->onCommandActivated = [this] { seen.push_back("command"); };
        listener->onCommandRelease = [this] { seen.push_back("command release"); };
        listener->onChordDetected = [this] { seen.push_back("chord"); };
        listener->start();
    }
    void down() { keys.change(mask::control, key::controlLeft); }
    void up() { keys.change(0, key::controlLeft); }

    using Events = std::vector<std::string>;
    test::FakeKeyEvents keys;
    std::unique_ptr<HotkeyListener> listener;
    Events seen;
};

} // namespace

TEST_F(Hotkeys, EveryKeyOfTheTablePressesAndReleases) {
    for (const Hotkey& hotkey : hotkeys()) {
        listenTo(hotkey.name);
        seen.clear();
        keys.change(hotkey.flagMask, hotkey.keyCode);
        keys.change(0, hotkey.keyCode);
        EXPECT_EQ(seen, (Events{"press", "release"})) << hotkey.name;
    }
}

TEST_F(Hotkeys, OtherModifiersNeitherPressNorRelease) {
    listenTo("ctrl_l");
    keys.change(mask::control, key::controlRight);
    keys.change(0, key::controlRight);
    EXPECT_TRUE(seen.empty());

    down();
    keys.change(mask::control, key::controlRight);
    keys.change(mask::control, key::controlRight); // right one up, left one still down
    keys.change(mask::control | mask::shift, key::shiftLeft);
    keys.change(mask::control, key::shiftLeft);
    EXPECT_EQ(seen, Events{"press"});
    keys.change(0, key::controlLeft);
    EXPECT_EQ(seen, (Events{"press", "release"}));
}

TEST_F(Hotkeys, SpaceMakesACommandAndLaterKeysAreIgnored) {
    listenTo("ctrl_l");
    keys.keyDown(key::space);
    keys.keyDown(key::a);
    EXPECT_TRUE(seen.empty()) << "without the hotkey they mean nothing";
    down();
    keys.keyDown(key::space);
    keys.keyDown(key::a);
    keys.keyDown(key::space);
    up();
    EXPECT_EQ(seen, (Events{"press", "command", "command release"}));
    down();
    up();
    EXPECT_EQ(seen.back(), "release") << "the command mode ended with its release";
}

TEST_F(Hotkeys, AnotherKeyIsAChordWhoseReleaseIsSilent) {
    listenTo("ctrl_l");
    down();
    keys.keyDown(key::a);
    keys.keyDown(key::space);
    up();
    EXPECT_EQ(seen, (Events{"press", "chord"}));
    down();
    up();
    EXPECT_EQ(seen, (Events{"press", "chord", "press", "release"}));
}

TEST_F(Hotkeys, WithoutTheKeyDownStreamSpaceDoesNothing) {
    keys.eventTapWorks = false;
    listenTo("ctrl_l");
    down();
    keys.keyDown(key::space);
    up();
    EXPECT_EQ(seen, (Events{"press", "release"}));
}

TEST_F(Hotkeys, ChangingTheKeyWhileHeldDropsTheRelease) {
    listenTo("ctrl_l");
    down();
    listener->setKey("shift_l");
    up();
    EXPECT_EQ(seen, Events{"press"});
    keys.change(mask::shift, key::shiftLeft);
    EXPECT_EQ(seen.size(), 2u);
}

TEST_F(Hotkeys, AnUnknownNameHearsNothingAndStopEndsListening) {
    listenTo("hyper");
    down();
    EXPECT_TRUE(seen.empty());
    listener->setKey("hyper");
    listener->setKey("ctrl_l");
    listener->stop();
    down();
    EXPECT_TRUE(seen.empty());
}

TEST_F(Hotkeys, TriggersPressReleaseAndToggleAsTheKeyDoes) {
    listenTo("ctrl_l");
    EXPECT_EQ(keys.trigger(Trigger::release), TriggerOutcome::nothingUnderWay);
    for (const Trigger each : {Trigger::press, Trigger::press, Trigger::release, Trigger::release})
        keys.trigger(each);
    EXPECT_EQ(seen, (Events{"press", "release"}));
    seen.clear();
    for (const Trigger each : {Trigger::toggle, Trigger::toggle, Trigger::toggle, Trigger::release})
        EXPECT_EQ(keys.trigger(each), TriggerOutcome::done);
    EXPECT_EQ(seen, (Events{"press", "release", "press", "release"}));
    seen.clear();
    listener->pressesToggle = [] { return true; };
    keys.trigger(Trigger::toggle);
    keys.trigger(Trigger::toggle);
    EXPECT_EQ(seen, (Events{"press", "release", "press", "release"}));
    listener->stop();
    EXPECT_EQ(keys.trigger(Trigger::press), TriggerOutcome::notListening);
}

TEST_F(Hotkeys, WhileATriggerHoldsTheTakeNoKeyCounts) {
    listenTo("ctrl_l");
    keys.trigger(Trigger::press);
    down();
    keys.keyDown(key::space);
    keys.keyDown(key::other);
    up();
    EXPECT_EQ(seen, Events{"press"});
    listener->setKey("shift_l"); // its release is still heard
    keys.trigger(Trigger::release);
    EXPECT_EQ(seen, (Events{"press", "release"}));

    listener->setKey("ctrl_l");
    seen.clear();
    down();
    keys.trigger(Trigger::press);
    EXPECT_EQ(keys.trigger(Trigger::release), TriggerOutcome::nothingUnderWay);
    keys.trigger(Trigger::toggle);
    EXPECT_EQ(seen, Events{"press"});
    up();
    EXPECT_EQ(seen, (Events{"press", "release"}));
}

TEST_F(Hotkeys, CommandAndCancelActOnTheTakeUnderWay) {
    listenTo("ctrl_l");
    bool isWaiting = false;
    listener->onCancel = [&] { return isWaiting; };
    EXPECT_EQ(keys.trigger(Trigger::command), TriggerOutcome::nothingUnderWay);
    EXPECT_EQ(keys.trigger(Trigger::cancel), TriggerOutcome::nothingUnderWay);
    isWaiting = true;
    EXPECT_EQ(keys.trigger(Trigger::cancel), TriggerOutcome::done);

    for (const Trigger each : {Trigger::press, Trigger::command, Trigger::command, Trigger::release})
        EXPECT_EQ(keys.trigger(each), TriggerOutcome::done);
    EXPECT_EQ(seen, (Events{"press", "command", "command release"}));
    seen.clear();
    for (const Trigger each : {Trigger::press, Trigger::command, Trigger::cancel, Trigger::release})
        EXPECT_EQ(keys.trigger(each), TriggerOutcome::done);
    EXPECT_EQ(seen, (Events{"press", "command", "chord"}));
    seen.clear();
    down();
    keys.trigger(Trigger::cancel);
    up();
    EXPECT_EQ(seen, (Events{"press", "chord"}));
}

TEST_F(Hotkeys, AToggledTakeThatEndedByItselfHoldsNothing) {
    listenTo("ctrl_l");
    bool isRecording = false;
    listener->isRecording = [&] { return isRecording; };
    listener->onPress = [&] {
        isRecording = true;
        seen.push_back("press");
    };
    keys.trigger(Trigger::toggle);
    isRecording = false; // the screen was locked
    keys.trigger(Trigger::toggle);
    EXPECT_EQ(seen, (Events{"press", "press"}));
    isRecording = false;
    down();
    up();
    EXPECT_EQ(seen, (Events{"press", "press", "press", "release"}));
}
