// Where keys are in the layouts of a session, and layouts made for a text.

#include "platform/KeyCodes.h"
#include "platform/linux/wayland/posting/SessionKeymap.h"
#include "platform/linux/wayland/posting/TypingKeymap.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <unicode/unistr.h>
#include <xkbcommon/xkbcommon.h>

using namespace fenlo;

namespace {

using Key = SessionKeymap::Key;
using Context = std::unique_ptr<xkb_context, decltype(&xkb_context_unref)>;
using Keymap = std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)>;

class Keymaps : public ::testing::Test {
protected:
    SessionKeymap session(const char* layouts, const char* variants = "") {
        const xkb_rule_names names{"evdev", "pc105", layouts, variants, ""};
        const Keymap keymap(xkb_keymap_new_from_names(context.get(), &names, XKB_KEYMAP_COMPILE_NO_FLAGS),
                            &xkb_keymap_unref);
        const std::unique_ptr<char, decltype(&std::free)> text(
            xkb_keymap_get_as_string(keymap.get(), XKB_KEYMAP_FORMAT_TEXT_V1), &std::free);
        return SessionKeymap::parse(text.get()).value();
    }

    /// What a program makes of the strokes.
    std::string typed(const TypingKeymap& typing) {
        const Keymap keymap(xkb_keymap_new_from_string(context.get(), typing.keymap.c_str(), XKB_KEYMAP_FORMAT_TEXT_V1,
                                                       XKB_KEYMAP_COMPILE_NO_FLAGS),
                            &xkb_keymap_unref);
        EXPECT_TRUE(keymap) << typing.keymap;
        const std::unique_ptr<xkb_state, decltype(&xkb_state_unref)> state(xkb_state_new(keymap.get()),
                                                                           &xkb_state_unref);
        std::string text;
        for (const std::uint32_t code : typing.strokes) {
            char character[8] = "";
            xkb_state_key_get_utf8(state.get(), code + 8, character, sizeof character);
            text += character;
        }
        return text;
    }

    const Context context{xkb_context_new(XKB_CONTEXT_NO_FLAGS), &xkb_context_unref};
};

TEST_F(Keymaps, LettersAreFoundWhereTheLayoutHasThem) {
    constexpr std::uint32_t keyV = 47, keyDot = 52, keyA = 30, keyQ = 16;
    EXPECT_EQ(session("us").find(key::v), (Key{keyV, 0}));
    EXPECT_EQ(session("us", "dvorak").find(key::v), (Key{keyDot, 0}));
    EXPECT_EQ(session("fr").find(key::a), (Key{keyQ, 0}));
    EXPECT_EQ(session("ru").find(key::v), std::nullopt);
    EXPECT_EQ(session("ru,us").find(key::v), (Key{keyV, 1}));
    EXPECT_EQ(session("ru").find(key::insert), (Key{110, 0}));
    EXPECT_EQ(SessionKeymap::american()->find(key::a), (Key{keyA, 0}));
    EXPECT_FALSE(session("us,ru").isAmbiguous(key::v));
    EXPECT_TRUE(session("us,us", ",dvorak").isAmbiguous(key::v));
    EXPECT_FALSE(session("ru").isAmbiguous(key::v));
    EXPECT_EQ(session("us").modifierBits(mask::control | mask::shift), 5U);
    EXPECT_EQ(session("us").modifierBits(mask::option | mask::command), 8U | 64U);
    for (const char* text : {"", "xkb_keymap {", "text"})
        EXPECT_FALSE(SessionKeymap::parse(text)) << text;
}

TEST_F(Keymaps, EveryTextCanBeTypedOnALayoutOfItsOwn) {
    const std::string text = "Grüße, мир! Ça coûte 5 €; 世界, 👩‍👧 e\u0301 \"'\\`~@#";
    const auto keyboards = TypingKeymap::forText(text);
    ASSERT_EQ(keyboards.size(), 1U);
    EXPECT_EQ(typed(keyboards[0]), text);
    EXPECT_EQ(TypingKeymap::forText("a é").front().strokes, (std::vector<std::uint32_t>{30, 57, 2}))
        << "a letter at its usual place, another on any other key";
    EXPECT_TRUE(TypingKeymap::isOne(keyboards[0].keymap));
    EXPECT_FALSE(TypingKeymap::isOne(session("us").text()));
}

TEST_F(Keymaps, ManyCharactersTakeSeveralKeyboards) {
    icu::UnicodeString many;
    for (UChar32 character = 0x4E00; character < 0x4E00 + 260; ++character)
        many.append(character);
    std::string text, back;
    many.toUTF8String(text);
    const auto keyboards = TypingKeymap::forText(text + "a");
    EXPECT_EQ(keyboards.size(), 3U);
    for (const TypingKeymap& each : keyboards)
        back += typed(each);
    EXPECT_EQ(back, text + "a");
}

TEST_F(Keymaps, TextsThatWouldPressOtherKeysAreRefused) {
    for (const char* text : {"", "two\nlines", "a\tb", "a\x7F", "\xC2\x85", "\xFF", "a\xE2\x82"})
        EXPECT_TRUE(TypingKeymap::forText(text).empty()) << text;
}

} // namespace
