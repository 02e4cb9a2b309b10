#include "platform/linux/wayland/keys/KeyMeanings.h"

#include "platform/KeyCodes.h"
#include "platform/linux/wayland/posting/SessionKeymap.h"

#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon.h>

using namespace fenlo;

namespace {

SessionKeymap layout(const char* names, const char* options = "") {
    xkb_context* const context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    const xkb_rule_names rules{"evdev", "pc105", names, "", options};
    xkb_keymap* const keymap = xkb_keymap_new_from_names(context, &rules, XKB_KEYMAP_COMPILE_NO_FLAGS);
    char* const text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
    auto parsed = SessionKeymap::parse(text);
    free(text);
    xkb_keymap_unref(keymap);
    xkb_context_unref(context);
    return parsed.value();
}

} // namespace

TEST(KeyMeanings, ModifiersAreMeantByPlaceWhateverTheLayoutMakesOfThem) {
    const KeyMeanings swapped(layout("us", "ctrl:swap_lalt_lctl,altwin:swap_alt_win"));
    EXPECT_EQ(swapped.of(KEY_LEFTCTRL).portCode, key::controlLeft);
    EXPECT_EQ(swapped.of(KEY_RIGHTCTRL).portCode, key::controlRight);
    EXPECT_EQ(swapped.of(KEY_RIGHTALT).portCode, key::optionRight);
    EXPECT_EQ(swapped.of(KEY_FN).portCode, key::function);
    EXPECT_FALSE(swapped.of(KEY_LEFTCTRL).isTyped);
}

TEST(KeyMeanings, LettersAreMeantByLayout) {
    EXPECT_EQ(KeyMeanings(layout("fr")).of(KEY_Q).portCode, key::a);
    EXPECT_EQ(KeyMeanings(layout("fr")).of(KEY_A).portCode, key::other);
    EXPECT_EQ(KeyMeanings(layout("ru")).of(KEY_V).portCode, key::v) << "a layout without the letter";
    EXPECT_EQ(KeyMeanings(layout("ru,us")).of(KEY_V).portCode, key::v);
    EXPECT_EQ(KeyMeanings().of(KEY_SPACE).portCode, key::space);
    EXPECT_EQ(KeyMeanings(layout("de")).of(KEY_SPACE).portCode, key::space);
}

TEST(KeyMeanings, LocksAndMediaKeysAreNotTyped) {
    const KeyMeanings meanings;
    for (const std::uint16_t code : {KEY_A, KEY_1, KEY_ENTER, KEY_ESC, KEY_F1, KEY_F24, KEY_UP, KEY_DELETE, KEY_KP5,
                                     KEY_102ND, KEY_COMPOSE, KEY_SYSRQ, KEY_PAUSE, KEY_SPACE})
        EXPECT_TRUE(meanings.of(code).isTyped) << code;
    for (const std::uint16_t code : {KEY_CAPSLOCK, KEY_NUMLOCK, KEY_SCROLLLOCK, KEY_VOLUMEUP, KEY_PLAYPAUSE, KEY_POWER,
                                     KEY_BRIGHTNESSUP, KEY_RESERVED, KEY_MICMUTE, KEY_LEFTMETA, KEY_RIGHTSHIFT})
        EXPECT_FALSE(meanings.of(code).isTyped) << code;
}
