#include "platform/linux/desktop/keys/HeldKeys.h"
#include "platform/linux/desktop/keys/OwnKeys.h"

#include "platform/KeyCodes.h"
#include "platform/desktop/VirtualDesktop.h"
#include "platform/linux/desktop/XDisplay.h"
#include "platform/linux/desktop/keys/KeyboardMap.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;

namespace {

// Numbers of keys as the usual keyboard has them.
constexpr KeyboardMap::XKey controlLeft = 37, controlRight = 105, keyA = 38, numLock = 77, volumeUp = 123;

class HeldKeysTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        const VirtualDesktop desktop;
        map = KeyboardMap::read(XDisplay::open()->get());
    }

    void press(KeyboardMap::XKey key) { held.press(key, map.meaning(key)); }
    void look(std::initializer_list<KeyboardMap::XKey> down) {
        held.compare([&](HeldKeys::Key key) { return std::find(down.begin(), down.end(), key) != down.end(); });
    }

    inline static KeyboardMap map;
    std::vector<std::uint64_t> flags;
    std::vector<std::uint16_t> downs;
    HeldKeys held{{.onFlagsChanged = [this](ModifierChange change) { flags.push_back(change.flags); },
                   .onKeyDown = [this](std::uint16_t keyCode) { downs.push_back(keyCode); }}};
};

TEST_F(HeldKeysTest, OnlyTypedKeysAreKeyDowns_WithoutRepeats) {
    for (const auto key : {keyA, keyA, numLock, volumeUp, controlLeft})
        press(key);
    EXPECT_THAT(downs, ElementsAre(key::a));
    held.release(keyA);
    press(keyA);
    EXPECT_THAT(downs, ElementsAre(key::a, key::a));
}

TEST_F(HeldKeysTest, FlagStaysWhileEitherTwinIsHeld) {
    press(controlLeft);
    press(controlRight);
    held.release(controlLeft);
    held.release(controlRight);
    held.release(controlRight);
    EXPECT_THAT(flags, ElementsAre(mask::control, mask::control, mask::control, 0));
}

TEST_F(HeldKeysTest, LostReleaseIsFoundAtTheSecondLook) {
    press(controlLeft);
    look({});
    look({controlLeft}); // the press was still on its way at the first look
    look({});
    EXPECT_THAT(flags, ElementsAre(mask::control));
    look({});
    EXPECT_THAT(flags, ElementsAre(mask::control, 0));
    EXPECT_TRUE(held.empty());
}

TEST_F(HeldKeysTest, LiftedKeyCountsAsHeldUntilItsReleaseComes) {
    press(controlLeft);
    held.lift(controlLeft);
    look({});
    look({});
    EXPECT_THAT(flags, ElementsAre(mask::control));
    press(controlLeft); // so a release was missed
    EXPECT_THAT(flags, ElementsAre(mask::control, 0, mask::control));
    held.releaseAll();
    EXPECT_THAT(flags, ElementsAre(mask::control, 0, mask::control, 0));
}

TEST(OwnKeysTest, EachEventCountsOnceAndIsForgottenInTime) {
    OwnKeys own;
    const OwnKeys::Time now;
    own.expect(keyA, KeyDirection::down, now);
    own.expect(keyA, KeyDirection::up, now);
    EXPECT_FALSE(own.consume(controlLeft, KeyDirection::down, now));
    EXPECT_TRUE(own.consume(keyA, KeyDirection::down, now));
    EXPECT_FALSE(own.consume(keyA, KeyDirection::down, now));
    EXPECT_FALSE(own.consume(keyA, KeyDirection::up, now + std::chrono::seconds(2)));
}

} // namespace
