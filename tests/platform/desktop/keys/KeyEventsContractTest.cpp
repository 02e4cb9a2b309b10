// What every keyboard port does, tried on the fake and on a real screen.

#include <gmock/gmock.h> // before the macros of X11

#include "platform/KeyCodes.h"
#include "platform/PumpedQueue.h"
#include "platform/desktop/VirtualDesktop.h"
#include "platform/desktop/keys/Fingers.h"
#include "platform/linux/desktop/keys/X11KeyEvents.h"
#include "platform/linux/wayland/keys/WaylandKeyEvents.h"
#include "platform/wayland/keys/PipeKeyboard.h"
#include "support/FakeKeyEvents.h"
#include "support/TemporaryFolder.h"

#include <X11/keysym.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;

namespace {

struct Named {
    std::uint16_t keyCode;
    std::uint64_t flag;
    KeySym symbol;
};

constexpr Named leftControl{key::controlLeft, mask::control, XK_Control_L};
constexpr Named rightControl{key::controlRight, mask::control, XK_Control_R};
constexpr Named shiftLeft{key::shiftLeft, mask::shift, XK_Shift_L};
constexpr Named commandLeft{key::commandLeft, mask::command, XK_Super_L};
constexpr Named optionRight{key::optionRight, mask::option, XK_Alt_R};
constexpr Named space{key::space, 0, XK_space};
constexpr Named letterQ{key::other, 0, XK_q};

/// A keyboard under test, and the user in front of it.
class Rig {
public:
    virtual ~Rig() = default;
    virtual KeyEvents& keys() = 0;
    virtual void press(Named key) = 0;
    virtual void release(Named key) = 0;
    virtual void click(int x, int y) = 0;
    virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

class FakeRig final : public Rig {
public:
    KeyEvents& keys() override { return m_keys; }
    void press(Named key) override {
        m_held.push_back(key);
        if (key.flag)
            m_keys.change(flags(), key.keyCode);
        else
            m_keys.keyDown(key.keyCode);
    }
    void release(Named key) override {
        std::erase_if(m_held, [&](const Named& held) { return held.symbol == key.symbol; });
        if (key.flag)
            m_keys.change(flags(), key.keyCode);
    }
    void click(int x, int y) override {
        if (m_keys.mouseDown)
            m_keys.mouseDown({x, y});
    }
    bool runUntil(const std::function<bool()>& condition) override { return condition(); }

private:
    std::uint64_t flags() const {
        std::uint64_t flags = 0;
        for (const Named& key : m_held)
            flags |= key.flag;
        return flags;
    }

    FakeKeyEvents m_keys;
    std::vector<Named> m_held;
};

class X11Rig final : public Rig {
public:
    KeyEvents& keys() override { return m_keys; }
    void press(Named key) override { m_fingers.press(key.symbol); }
    void release(Named key) override { m_fingers.release(key.symbol); }
    void click(int x, int y) override { m_fingers.click(x, y); }
    bool runUntil(const std::function<bool()>& condition) override { return m_queue.runUntil(condition); }

private:
    VirtualDesktop m_desktop;
    PumpedQueue m_queue;
    X11KeyEvents m_keys{m_queue};
    Fingers m_fingers;
};

/// A Wayland session whose keyboard is a pipe. Nothing can be posted there, and nobody hears the mouse.
class WaylandRig final : public Rig {
public:
    KeyEvents& keys() override { return m_keys; }
    void press(Named key) override { m_keyboard.press(codeOf(key)); }
    void release(Named key) override { m_keyboard.release(codeOf(key)); }
    void click(int, int) override {}
    bool runUntil(const std::function<bool()>& condition) override { return m_queue.runUntil(condition); }

private:
    static std::uint16_t codeOf(Named key) {
        constexpr std::pair<KeySym, std::uint16_t> codes[] = {{XK_Control_L, KEY_LEFTCTRL},
                                                              {XK_Control_R, KEY_RIGHTCTRL},
                                                              {XK_Shift_L, KEY_LEFTSHIFT},
                                                              {XK_Super_L, KEY_LEFTMETA},
                                                              {XK_Alt_R, KEY_RIGHTALT},
                                                              {XK_space, KEY_SPACE},
                                                              {XK_q, KEY_Q}};
        return std::find_if(std::begin(codes), std::end(codes), [&](auto& each) { return each.first == key.symbol; })
            ->second;
    }
    WaylandKeyEvents::Options options() {
        return {.keyboards = {m_folder.path, m_kernel.questions(), ""}, .asksPortal = false, .posting = {}};
    }

    const TemporaryFolder m_folder;
    PipeKernel m_kernel;
    PipeKeyboard m_keyboard{m_kernel, m_folder / "event0"};
    PumpedQueue m_queue;
    WaylandKeyEvents m_keys{m_queue, nullptr, options()};
};

using MakeRig = std::unique_ptr<Rig> (*)();

/// What holds of every keyboard that is listened to.
class HeardKeysContract : public ::testing::TestWithParam<MakeRig> {
protected:
    void listen() {
        const auto sources = rig->keys().listen({
            .onFlagsChanged = [this](ModifierChange change) { changes.emplace_back(change.flags, change.keyCode); },
            .onKeyDown = [this](std::uint16_t keyCode) { downs.push_back(keyCode); },
            .onTrigger =
                [this](Trigger trigger) {
                    triggersHeard.push_back(trigger);
                    return TriggerOutcome::done;
                },
        });
        EXPECT_TRUE(sources.global && sources.local && sources.eventTap);
    }
    bool runUntilChanges(std::size_t count) {
        return rig->runUntil([&] { return changes.size() >= count; });
    }
    bool runUntilDowns(std::size_t count) {
        return rig->runUntil([&] { return downs.size() >= count; });
    }

    std::unique_ptr<Rig> rig = GetParam()();
    std::vector<std::pair<std::uint64_t, std::uint16_t>> changes; // flags, key code
    std::vector<std::uint16_t> downs;
    std::vector<Trigger> triggersHeard;
};

/// What holds where keys can be posted and the mouse is heard.
class KeyEventsContract : public HeardKeysContract {};

TEST_P(HeardKeysContract, ModifiersTellWhatIsHeldAndWhichSideChanged) {
    listen();
    for (const Named& key : {leftControl, rightControl})
        rig->press(key);
    for (const Named& key : {leftControl, rightControl})
        rig->release(key);
    for (const Named& key : {shiftLeft, commandLeft, optionRight})
        rig->press(key);
    for (const Named& key : {shiftLeft, commandLeft, optionRight})
        rig->release(key);
    ASSERT_TRUE(runUntilChanges(10));
    using Change = std::pair<std::uint64_t, std::uint16_t>;
    EXPECT_THAT(changes,
                ElementsAre(Change(mask::control, key::controlLeft), Change(mask::control, key::controlRight),
                            Change(mask::control, key::controlLeft), Change(0, key::controlRight),
                            Change(mask::shift, key::shiftLeft), Change(mask::shift | mask::command, key::commandLeft),
                            Change(mask::shift | mask::command | mask::option, key::optionRight),
                            Change(mask::command | mask::option, key::shiftLeft),
                            Change(mask::option, key::commandLeft), Change(0, key::optionRight)));
    EXPECT_TRUE(downs.empty());
}

TEST_P(HeardKeysContract, KeysAreReportedWhenTheyGoDown) {
    listen();
    for (const Named& key : {leftControl, space, letterQ}) {
        rig->press(key);
        rig->release(key);
    }
    ASSERT_TRUE(runUntilDowns(2));
    EXPECT_THAT(downs, ElementsAre(key::space, key::other));
}

TEST_P(HeardKeysContract, TriggersReachWhoListens) {
    EXPECT_EQ(rig->keys().trigger(Trigger::press), TriggerOutcome::notListening);
    listen();
    EXPECT_EQ(rig->keys().trigger(Trigger::press), TriggerOutcome::done);
    EXPECT_EQ(rig->keys().trigger(Trigger::release), TriggerOutcome::done);
    rig->keys().stopListening();
    EXPECT_EQ(rig->keys().trigger(Trigger::toggle), TriggerOutcome::notListening);
    EXPECT_THAT(triggersHeard, ElementsAre(Trigger::press, Trigger::release));
}

TEST_P(HeardKeysContract, KeysThatAreOnTheKeyboardCanBeDelivered) {
    EXPECT_TRUE(rig->keys().canDeliver(key::controlLeft));
}

TEST_P(KeyEventsContract, ItsOwnKeysAreNeverReported) {
    listen();
    ASSERT_TRUE(rig->keys().canPost());
    for (const auto direction : {KeyDirection::down, KeyDirection::up})
        EXPECT_TRUE(rig->keys().post(key::v, mask::command | mask::shift, direction));
    rig->press(space);
    rig->release(space);
    ASSERT_TRUE(runUntilDowns(1));
    EXPECT_THAT(downs, ElementsAre(key::space));
    EXPECT_TRUE(changes.empty());
}

TEST_P(KeyEventsContract, NothingIsReportedBetweenStopAndListen) {
    listen();
    rig->keys().stopListening();
    rig->press(leftControl);
    rig->press(letterQ);
    rig->release(letterQ);
    int clicks = 0;
    rig->keys().watchMouseDown([&](ScreenPoint) { ++clicks; });
    ASSERT_TRUE(rig->runUntil([&] {
        rig->click(1, 1); // whatever was before it has come through as well
        return clicks > 0;
    }));
    EXPECT_TRUE(changes.empty() && downs.empty());
    listen();
    rig->release(leftControl);
    ASSERT_TRUE(runUntilChanges(1));
    EXPECT_EQ(changes.front().first, 0U);
}

TEST_P(KeyEventsContract, MouseDownTellsThePlaceUntilNobodyWatches) {
    std::vector<ScreenPoint> points;
    rig->keys().watchMouseDown([&](ScreenPoint point) {
        points.push_back(point);
        rig->keys().watchMouseDown({});
    });
    ASSERT_TRUE(rig->runUntil([&] {
        rig->click(321, 123);
        return !points.empty();
    }));
    EXPECT_EQ(points[0].x, 321);
    EXPECT_EQ(points[0].y, 123);
    listen();
    rig->click(5, 5);
    rig->press(space);
    rig->release(space);
    ASSERT_TRUE(runUntilDowns(1));
    EXPECT_EQ(points.size(), 1U);
}

std::unique_ptr<Rig> makeFakeRig() {
    return std::make_unique<FakeRig>();
}
std::unique_ptr<Rig> makeX11Rig() {
    return std::make_unique<X11Rig>();
}
std::unique_ptr<Rig> makeWaylandRig() {
    return std::make_unique<WaylandRig>();
}

INSTANTIATE_TEST_SUITE_P(Fake, HeardKeysContract, ::testing::Values(&makeFakeRig));
INSTANTIATE_TEST_SUITE_P(X11, HeardKeysContract, ::testing::Values(&makeX11Rig));
INSTANTIATE_TEST_SUITE_P(Wayland, HeardKeysContract, ::testing::Values(&makeWaylandRig));
INSTANTIATE_TEST_SUITE_P(Fake, KeyEventsContract, ::testing::Values(&makeFakeRig));
INSTANTIATE_TEST_SUITE_P(X11, KeyEventsContract, ::testing::Values(&makeX11Rig));

} // namespace
