#include <gmock/gmock.h> // before the macros of X11

#include "platform/linux/desktop/keys/X11KeyEvents.h"

#include "platform/KeyCodes.h"
#include "platform/PumpedQueue.h"
#include "platform/desktop/VirtualDesktop.h"
#include "platform/desktop/keys/Fingers.h"
#include "platform/desktop/keys/KeyWindow.h"
#include "support/EnvironmentVariable.h"

#include <X11/XKBlib.h>
#include <X11/keysym.h>
#include <chrono>
#include <thread>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;

namespace {

class X11KeyEventsTest : public ::testing::Test {
protected:
    void SetUp() override {
        keys.listen({.onFlagsChanged = [this](ModifierChange change) { flags.push_back(change.flags); },
                     .onKeyDown = [this](std::uint16_t keyCode) { downs.push_back(keyCode); }});
    }

    void setLayout(const std::string& names, unsigned group = 0) {
        outputOf({"setxkbmap", "-layout", names});
        XkbLockGroup(display->get(), XkbUseCoreKbd, group);
        XSync(display->get(), False);
    }
    void postChord(std::uint16_t keyCode, std::uint64_t chord) {
        EXPECT_TRUE(keys.post(keyCode, chord, KeyDirection::down));
        EXPECT_TRUE(keys.post(keyCode, chord, KeyDirection::up));
    }
    bool isDown(KeySym symbol) { return ServerKeys(display->get()).isDown(XKeysymToKeycode(display->get(), symbol)); }
    bool runUntilFlags(std::size_t count) {
        return queue.runUntil([&] { return flags.size() >= count; });
    }

    VirtualDesktop desktop;
    std::unique_ptr<XDisplay> display = XDisplay::open();
    PumpedQueue queue;
    X11KeyEvents keys{queue};
    Fingers fingers;
    std::vector<std::uint64_t> flags;
    std::vector<std::uint16_t> downs;
};

using Press = KeyWindow::Press;

TEST_F(X11KeyEventsTest, PasteIsTheLetterVInEveryLayout) {
    struct Case {
        const char* layout;
        unsigned group;
        KeySym symbol;
    };
    const Case cases[] = {{"us", 0, XK_v},         {"us,ru", 1, XK_Cyrillic_em},
                          {"us(dvorak)", 0, XK_v}, {"us,us(dvorak)", 1, XK_v},
                          {"fr", 0, XK_v},         {"us,ru,de", 2, XK_v}};
    for (const Case& each : cases) {
        setLayout(each.layout, each.group);
        KeyWindow window;
        postChord(key::v, mask::command);
        const auto press = window.next();
        ASSERT_TRUE(press) << each.layout;
        EXPECT_EQ(*press, (Press{each.symbol, XK_v, ControlMask})) << each.layout;
    }
}

TEST_F(X11KeyEventsTest, KeyboardWithoutLatinLettersHasOtherKeysForTheSame) {
    setLayout("ru");
    KeyWindow window;
    constexpr std::uint64_t inTerminals = mask::command | mask::shift;
    const std::tuple<std::uint16_t, std::uint64_t, Press> cases[] = {
        {key::v, mask::command, {XK_Insert, NoSymbol, ShiftMask}},
        {key::c, mask::command, {XK_Insert, NoSymbol, ControlMask}},
        {key::v, inTerminals, {XK_Insert, NoSymbol, ShiftMask}},
        {key::a, mask::command, {XK_Cyrillic_ef, NoSymbol, ControlMask}}};
    for (const auto& [keyCode, chord, press] : cases) {
        postChord(keyCode, chord);
        EXPECT_EQ(window.next().value(), press);
    }
    EXPECT_FALSE(keys.post(key::c, inTerminals, KeyDirection::down));
    outputOf({"xmodmap", "-e", "keysym Insert = NoSymbol"});
    for (const std::uint64_t chord : {mask::command, inTerminals})
        EXPECT_FALSE(keys.post(key::v, chord, KeyDirection::down));
    EXPECT_TRUE(window.rest().empty()) << "a letter was typed";
}

TEST_F(X11KeyEventsTest, ChordHasExactlyItsModifiersAndLeavesNoneDown) {
    KeyWindow window;
    postChord(key::v, mask::command | mask::shift);
    postChord(key::insert, mask::shift);
    postChord(key::arrowLeft, mask::shift);
    postChord(key::a, mask::command);
    EXPECT_EQ(window.next().value(), (Press{XK_V, XK_V, ControlMask | ShiftMask}));
    EXPECT_EQ(window.next()->symbol, static_cast<KeySym>(XK_Insert));
    const Press left = window.next().value();
    EXPECT_EQ(left.symbol, static_cast<KeySym>(XK_Left));
    EXPECT_EQ(left.state, static_cast<unsigned>(ShiftMask));
    EXPECT_EQ(window.next().value(), (Press{XK_a, XK_a, ControlMask}));
    EXPECT_TRUE(window.rest().empty());
    for (const KeySym symbol : {XK_Control_L, XK_Shift_L, XK_v})
        EXPECT_TRUE(eventually([&] { return !isDown(symbol); }));
    EXPECT_FALSE(keys.post(key::other, 0, KeyDirection::down));
}

TEST_F(X11KeyEventsTest, LongSelectionIsQuick) {
    KeyWindow window;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 500; ++i)
        postChord(key::arrowLeft, mask::shift);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    std::size_t arrived = 0;
    for (; window.next(0.5); ++arrived) {
    }
    EXPECT_EQ(arrived, 500U);
}

TEST_F(X11KeyEventsTest, ChordWhileAnotherModifierIsHeld_IsCleanAndTheHoldGoesOn) {
    KeyWindow window;
    fingers.press(XK_Shift_L);
    ASSERT_TRUE(runUntilFlags(1));
    postChord(key::c, mask::command);
    EXPECT_EQ(window.next().value(), (Press{XK_c, XK_c, ControlMask}));
    // Longer than it takes to notice a lost release.
    EXPECT_FALSE(queue.runUntil([&] { return flags.size() > 1; }, 1.2));
    fingers.release(XK_Shift_L);
    ASSERT_TRUE(runUntilFlags(2));
    EXPECT_THAT(flags, ElementsAre(mask::shift, 0));
}

TEST_F(X11KeyEventsTest, ChordOfAHeldModifier_DoesNotLetGoOfIt) {
    KeyWindow window;
    fingers.press(XK_Control_R);
    postChord(key::c, mask::command);
    EXPECT_EQ(window.next().value(), (Press{XK_c, XK_c, ControlMask}));
    EXPECT_TRUE(isDown(XK_Control_R));
    fingers.release(XK_Control_R);
    ASSERT_TRUE(runUntilFlags(2));
    EXPECT_THAT(flags, ElementsAre(mask::control, 0));
}

TEST_F(X11KeyEventsTest, ModifierThatTheUserLetsGoOfMeanwhile_StaysInTheChord) {
    KeyWindow window;
    for (int chord = 0; chord < 5; ++chord) {
        std::jthread user([&](std::stop_token tooLate) {
            while (!isDown(XK_Control_L) && !tooLate.stop_requested())
                std::this_thread::yield();
            fingers.press(XK_Control_L);
            fingers.release(XK_Control_L);
        });
        postChord(key::v, mask::command);
        user.request_stop();
        user.join();
        EXPECT_EQ(window.next().value(), (Press{XK_v, XK_v, ControlMask}));
        EXPECT_TRUE(eventually([&] { return !isDown(XK_Control_L); }));
        std::this_thread::sleep_for(std::chrono::milliseconds(120)); // the next chord settles anew
    }
}

TEST_F(X11KeyEventsTest, HeldModifierIsWaitedFor) {
    const auto start = std::chrono::steady_clock::now();
    fingers.press(XK_Shift_R);
    fingers.press(XK_Alt_L);
    std::jthread user([this] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        fingers.release(XK_Alt_L);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        fingers.release(XK_Shift_R);
    });
    keys.releaseModifiers(10);
    EXPECT_FALSE(isDown(XK_Shift_R));
    const auto took = std::chrono::steady_clock::now() - start;
    EXPECT_GE(took, std::chrono::milliseconds(200));
    EXPECT_LT(took, std::chrono::milliseconds(600));
}

TEST_F(X11KeyEventsTest, ModifierHeldForTooLong_IsLiftedAndCountsAsHeldUntilTheUserLetsGo) {
    fingers.press(XK_Control_L);
    ASSERT_TRUE(runUntilFlags(1));
    keys.releaseModifiers(0.1);
    EXPECT_FALSE(isDown(XK_Control_L));
    EXPECT_FALSE(queue.runUntil([&] { return flags.size() > 1; }, 1.2));
    EXPECT_FALSE(isDown(XK_Control_L));
    fingers.release(XK_Control_L);
    fingers.press(XK_Control_L);
    ASSERT_TRUE(runUntilFlags(3));
    EXPECT_THAT(flags, ElementsAre(mask::control, 0, mask::control));
}

TEST_F(X11KeyEventsTest, LocksAreNotWaitedFor) {
    for (const KeySym lock : {XK_Caps_Lock, XK_Num_Lock}) {
        fingers.press(lock);
        fingers.release(lock);
    }
    const auto start = std::chrono::steady_clock::now();
    keys.releaseModifiers(5);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

TEST_F(X11KeyEventsTest, KeyHeldSinceBeforeTheStart_IsNotReportedAsPressed) {
    fingers.press(XK_Control_L);
    ASSERT_TRUE(runUntilFlags(1));
    X11KeyEvents late(queue);
    std::vector<std::uint64_t> heard;
    late.listen({.onFlagsChanged = [&](ModifierChange change) { heard.push_back(change.flags); }, .onKeyDown = {}});
    fingers.release(XK_Control_L);
    fingers.press(XK_Control_L);
    ASSERT_TRUE(queue.runUntil([&] { return heard.size() >= 2; }));
    EXPECT_THAT(heard, ElementsAre(0, mask::control));
}

TEST_F(X11KeyEventsTest, KeysAreHeardWhileAnotherProgramGrabsTheKeyboard) {
    ASSERT_EQ(XGrabKeyboard(display->get(), DefaultRootWindow(display->get()), False, GrabModeAsync, GrabModeAsync,
                            CurrentTime),
              GrabSuccess);
    fingers.press(XK_Control_L);
    fingers.release(XK_Control_L);
    EXPECT_TRUE(runUntilFlags(2));
}

TEST_F(X11KeyEventsTest, ChangedKeyboardIsFollowed) {
    EXPECT_FALSE(keys.canDeliver(key::function));
    outputOf({"setxkbmap", "-option", "ctrl:nocaps"});
    outputOf({"xmodmap", "-e", "keycode 248 = XF86Fn"});
    EXPECT_TRUE(keys.canDeliver(key::function));
    constexpr unsigned capsLock = 66, fn = 248;
    for (const unsigned number : {capsLock, fn}) {
        fingers.touchKey(number, true);
        fingers.touchKey(number, false);
    }
    ASSERT_TRUE(runUntilFlags(4));
    EXPECT_THAT(flags, ElementsAre(mask::control, 0, mask::function, 0));
}

TEST_F(X11KeyEventsTest, HeldKeyOfAnUnpluggedKeyboardIsReleased) {
    fingers.press(XK_Control_L);
    ASSERT_TRUE(runUntilFlags(1));
    fingers.unplug();
    ASSERT_TRUE(runUntilFlags(2));
    EXPECT_THAT(flags, ElementsAre(mask::control, 0));
}

TEST(X11KeyEventsWithoutServer, DoesNothingAndSaysSo) {
    const EnvironmentVariable noServer("DISPLAY", ":9999");
    PumpedQueue queue;
    X11KeyEvents keys(queue);
    EXPECT_FALSE(keys.isConnected() || keys.canPost() || keys.hasXInput2() || keys.hasXTest());
    EXPECT_FALSE(keys.listen({}).global);
    EXPECT_FALSE(keys.post(key::v, mask::command, KeyDirection::down));
    keys.releaseModifiers(5);
}

TEST_F(X11KeyEventsTest, ServerThatGoesAway_EndsTheTakeAndNotTheProgram) {
    fingers.press(XK_Control_L);
    ASSERT_TRUE(runUntilFlags(1));
    desktop.end();
    ASSERT_TRUE(runUntilFlags(2));
    EXPECT_EQ(flags.back(), 0U);
    EXPECT_FALSE(keys.post(key::v, mask::command, KeyDirection::down));
    EXPECT_FALSE(keys.isConnected());
}

} // namespace
