#include "platform/linux/wayland/keys/Keyboards.h"

#include "platform/KeyCodes.h"
#include "platform/wayland/keys/PipeKeyboard.h"
#include "support/TemporaryFolder.h"
#include "support/WaitUntil.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;

namespace {

class KeyboardsTest : public ::testing::Test {
protected:
    using Change = std::pair<std::uint16_t, bool>;
    using Changes = std::vector<Change>;

    void start() {
        Keyboards::Options options{folder.path, kernel.questions(), "Own keys"};
        keyboards = std::make_unique<Keyboards>(
            std::move(options),
            Keyboards::Sinks{
                .onKey = [this](std::uint16_t code,
                                bool isDown) { changes.with([&](Changes& all) { all.emplace_back(code, isDown); }); },
                .onHeldBefore = [this](std::uint16_t code) { before.with([&](auto& all) { all.push_back(code); }); }});
    }
    std::unique_ptr<PipeKeyboard> plug(const std::string& file, KeyBits keys = fullKeyboard(),
                                       const std::string& name = "Keyboard", KeyBits held = {}) {
        return std::make_unique<PipeKeyboard>(kernel, folder / file, keys, name, held);
    }
    /// Types on the keyboard until it is heard, so that it is certain to be open.
    void waitFor(PipeKeyboard& keyboard) {
        ASSERT_TRUE(waitUntil(10, [&] {
            keyboard.press(KEY_F12);
            keyboard.release(KEY_F12);
            return !takeChanges().empty();
        }));
        waitUntil(10, [&] { return changes.with([](auto& all) { return all.size() % 2 == 0; }); });
        takeChanges();
    }
    Changes takeChanges() {
        return changes.with([](Changes& all) { return std::exchange(all, {}); });
    }
    /// As many as were expected, or more.
    Changes next(std::size_t count) {
        waitUntil(10, [&] { return changes.with([&](auto& all) { return all.size() >= count; }); });
        return takeChanges();
    }

    const TemporaryFolder folder;
    PipeKernel kernel;
    Guarded<Changes> changes;
    Guarded<std::vector<std::uint16_t>> before;
    std::unique_ptr<Keyboards> keyboards;
};

} // namespace

TEST_F(KeyboardsTest, ThoseThatArePluggedInLaterAreHeard_AndReleaseWhatTheyHeldWhenTheyGo) {
    auto first = plug("event0");
    start();
    EXPECT_TRUE(keyboards->hearAny());
    first->press(KEY_LEFTCTRL);
    EXPECT_THAT(next(1), ElementsAre(Change(KEY_LEFTCTRL, true)));
    auto second = plug("event7");
    ASSERT_TRUE(waitUntil(10, [&] {
        second->press(KEY_SPACE);
        second->release(KEY_SPACE);
        return !takeChanges().empty();
    }));
    first.reset();
    ASSERT_TRUE(waitUntil(10, [&] {
        const auto heard = takeChanges();
        return std::find(heard.begin(), heard.end(), Change(KEY_LEFTCTRL, false)) != heard.end();
    }));
    EXPECT_TRUE(keyboards->hearAny());
    second.reset();
    EXPECT_TRUE(waitUntil(10, [&] { return !keyboards->hearAny(); }));
    auto again = plug("event0"); // the name is used again
    waitFor(*again);
}

TEST_F(KeyboardsTest, AKeyOnSeveralKeyboardsIsDownFromTheFirstPressToTheLastRelease) {
    auto real = plug("event0"), virtualOne = plug("event1", fullKeyboard(), "key mapper's keyboard");
    start();
    real->press(KEY_LEFTCTRL);
    EXPECT_THAT(next(1), ElementsAre(Change(KEY_LEFTCTRL, true)));
    virtualOne->press(KEY_LEFTCTRL);
    virtualOne->press(KEY_SPACE);
    EXPECT_THAT(next(1), ElementsAre(Change(KEY_SPACE, true)));
    real->release(KEY_LEFTCTRL);
    virtualOne.reset(); // unplugged while it holds two
    EXPECT_THAT(next(2), ElementsAre(Change(KEY_LEFTCTRL, false), Change(KEY_SPACE, false)));
}

TEST_F(KeyboardsTest, OnlyKeyboardsAreRead_AndNotOurOwn) {
    auto mouse = plug("event0", bitsOf({BTN_LEFT, BTN_RIGHT}), "Mouse");
    auto power = plug("event1", bitsOf({KEY_POWER}), "Power Button");
    auto own = plug("event2", fullKeyboard(), "Own keys");
    auto pedal = plug("event3", bitsOf({KEY_RIGHTALT}), "Foot pedal");
    auto joystick = plug("js0");
    start();
    for (auto* each : {mouse.get(), power.get(), own.get(), joystick.get()})
        each->press(KEY_LEFTCTRL);
    pedal->press(KEY_RIGHTALT);
    EXPECT_THAT(next(1), ElementsAre(Change(KEY_RIGHTALT, true)));
    EXPECT_TRUE(keyboards->haveModifier(key::optionRight));
    EXPECT_FALSE(keyboards->haveModifier(key::controlLeft));
    const KeyboardCensus census = countKeyboards(folder, kernel.questions());
    EXPECT_EQ(census.eventDevices, 4);
    EXPECT_EQ(census.keyboards, 2);
}

TEST_F(KeyboardsTest, NothingIsReadWhileAnotherUserIsInFront) {
    auto keyboard = plug("event0");
    start();
    keyboard->press(KEY_LEFTCTRL);
    EXPECT_THAT(next(1), ElementsAre(Change(KEY_LEFTCTRL, true)));
    keyboards->setActive(false);
    EXPECT_THAT(next(1), ElementsAre(Change(KEY_LEFTCTRL, false))); // its release will not be heard
    EXPECT_FALSE(keyboards->hearAny());
    kernel.set("event0", {{"Keyboard", fullKeyboard()}, bitsOf({KEY_RIGHTSHIFT})});
    keyboards->setActive(true);
    EXPECT_TRUE(waitUntil(10, [&] { return keyboards->hearAny(); }));
    EXPECT_THAT(before.with([](auto& all) { return all; }), ElementsAre(KEY_RIGHTSHIFT));
    keyboard->release(KEY_RIGHTSHIFT);
    EXPECT_THAT(next(1), ElementsAre(Change(KEY_RIGHTSHIFT, false)));
}

TEST_F(KeyboardsTest, LostEventsAreMended) {
    auto keyboard = plug("event0");
    start();
    keyboard->press(KEY_LEFTCTRL);
    EXPECT_THAT(next(1), ElementsAre(Change(KEY_LEFTCTRL, true)));
    keyboard->send(bytesOf(EV_SYN, SYN_DROPPED, 0) + bytesOf(EV_SYN, SYN_REPORT, 0));
    EXPECT_THAT(next(1), ElementsAre(Change(KEY_LEFTCTRL, false)));
}

TEST_F(KeyboardsTest, PermissionsThatComeLaterAreNoticed) {
    // The superuser may read everything, so the file is a link to nothing until it is there.
    start();
    EXPECT_FALSE(keyboards->hearAny());
    auto keyboard = plug("waiting0");
    kernel.set("event4", {{"Keyboard", fullKeyboard()}, {}});
    std::filesystem::rename(folder / "waiting0", folder / "event4");
    EXPECT_TRUE(waitUntil(10, [&] { return keyboards->hearAny(); }));
    keyboard->press(KEY_A);
    EXPECT_THAT(next(1), ElementsAre(Change(KEY_A, true)));
}
