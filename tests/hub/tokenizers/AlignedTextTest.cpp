// Where the bytes of a text that was edited come from.

#include "hub/tokenizers/AlignedText.h"

#include <gtest/gtest.h>

using namespace fenlo::hub;

TEST(AlignedText, Edits_KeepTheWayBackToTheOriginal) {
    AlignedText text = AlignedText::tracked("a--bc d", 10);
    text.apply(std::vector<AlignedText::Edit>{{0, 0, ">"}, {1, 3, ""}, {3, 4, "BBB"}, {5, 6, "_"}, {7, 7, "<"}});
    ASSERT_EQ(text.text(), ">aBBBc_d<");
    const struct {
        std::size_t begin, end;
        TextRange origin;
    } cases[] = {
        {0, 1, {10, 10}}, // inserted
        {0, 2, {10, 11}}, // with what is there
        {1, 2, {10, 11}}, {1, 3, {10, 14}}, {2, 3, {13, 14}}, {3, 5, {13, 14}}, {4, 6, {13, 15}},
        {6, 7, {15, 16}}, {8, 9, {17, 17}}, {7, 9, {16, 17}}, {0, 9, {10, 17}}, {9, 9, {17, 17}},
    };
    for (const auto& [begin, end, origin] : cases)
        EXPECT_EQ(text.origin(begin, end), origin) << begin << " to " << end;

    // Edits of edits and parts of parts.
    text.apply(std::vector<AlignedText::Edit>{{1, 6, "xy"}});
    EXPECT_EQ(text.text(), ">xy_d<");
    EXPECT_EQ(text.origin(2, 3), (TextRange{10, 15}));
    const AlignedText part = text.part(2, 5).part(1, 3);
    EXPECT_EQ(part.text(), "_d");
    EXPECT_EQ(part.origin(1, 2), (TextRange{16, 17}));
}

TEST(AlignedText, TextThatLosesAll_StillHasItsPlace) {
    AlignedText text = AlignedText::tracked("ab  ", 3).part(2, 4);
    text.apply(std::vector<AlignedText::Edit>{{0, 2, ""}});
    EXPECT_EQ(text.origin(0, 0), (TextRange{5, 5}));
    text.apply(std::vector<AlignedText::Edit>{{0, 0, "x"}});
    EXPECT_EQ(text.text(), "x");
    EXPECT_EQ(text.origin(0, 1), (TextRange{5, 5}));
}

TEST(AlignedText, PlainText_IsEditedAlikeWithoutOrigins) {
    AlignedText text = AlignedText::plain("abc");
    AlignedTextWriter writer(text);
    writer.keep(1);
    writer.insert("-");
    writer.replace(2, "BB");
    EXPECT_EQ(writer.done(), 2U);
    EXPECT_EQ(writer.size(), 4U);
    writer.finish();
    EXPECT_EQ(text.text(), "a-BBc");
    EXPECT_EQ(text.part(1, 4).text(), "-BB");
    EXPECT_EQ(text.origin(0, 5), (TextRange{0, 0}));
}
