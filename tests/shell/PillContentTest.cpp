#include "shell/PillContent.h"
#include "shell/PillStyle.h"
#include "support/FakeShell.h"

#include <gtest/gtest.h>

using namespace fenlo;

namespace {

class Layout : public ::testing::Test {
protected:
    PillLayout of(const PillContent& content) {
        return layOut(content, [this](const std::string& text, PillFont font) { return fonts.textWidth(text, font); });
    }
    test::FakePillWindows fonts;
};

} // namespace

TEST_F(Layout, ElementsStandInOrderWithSeparatorsBetween) {
    PillContent content;
    content.isCommandMode = content.isReplacing = content.isOffline = content.showCancel = true;
    content.appLabel = "Mail";
    content.langCode = "DE";
    content.displayText = "1.25s";
    content.displayTextColor = pillStyle::text;
    const auto [picture, end] = of(content);

    const std::vector<std::string> order{"AI", "Mail", "Replace", "Offline Mode", "DE", "1.25s", "tap to stop"};
    ASSERT_EQ(picture.texts.size(), order.size());
    double cursor = 33; // 11 right of a dot of 8 at 14
    for (std::size_t i = 0; i < order.size(); ++i) {
        const auto& text = picture.texts[i];
        EXPECT_EQ(text.text, order[i]);
        EXPECT_DOUBLE_EQ(text.x, cursor) << order[i];
        cursor += fonts.textWidth(text.text, text.font);
        if (i < 5) { // a badge: 6, a dot of 3, and 6
            const auto& separator = picture.ovals[3 + i];
            EXPECT_DOUBLE_EQ(separator.x, cursor + 6) << order[i];
            EXPECT_DOUBLE_EQ(separator.y + separator.diameter / 2, 17);
            EXPECT_EQ(separator.diameter, 3);
            EXPECT_EQ(separator.colour, (Colour{1, 1, 1, 0.25}));
            cursor += 15;
        } else if (i == 5) { // the rule of the cancel offer
            EXPECT_DOUBLE_EQ(picture.rules.at(0).x, cursor + 8);
            EXPECT_EQ(picture.rules[0].width, 0.5);
            EXPECT_EQ(picture.rules[0].height, 16);
            EXPECT_EQ(picture.rules[0].colour, (Colour{1, 1, 1, 0.1}));
            cursor += 16.5;
        }
    }
    EXPECT_DOUBLE_EQ(end, cursor);
    EXPECT_EQ(picture.ovals.size(), 8u);
    EXPECT_EQ(picture.texts[0].colour, (Colour{0.58, 0.40, 1.0, 0.9}));
    EXPECT_EQ(picture.texts[5].font, PillFont::text);
    EXPECT_EQ(picture.texts[6].colour, (Colour{1, 1, 1, 0.5}));
    EXPECT_EQ(picture.texts[6].font, PillFont::cancel);
}

TEST_F(Layout, TheDotIsThreeOvalsThatPulseTogether) {
    PillContent content;
    content.dotColor = pillStyle::processingDot;
    content.glowColor = pillStyle::processingGlow;
    content.dotPulse = 0.6;
    content.useCompactDisplayFont = true;
    const PillPicture picture = of(content).picture;
    ASSERT_EQ(picture.ovals.size(), 3u);
    const double alphas[]{0.6 * 0.35, 0.6 * 0.7, 0.6};
    for (int i = 0; i < 3; ++i) {
        const auto& oval = picture.ovals[i];
        EXPECT_NEAR(oval.colour.alpha, alphas[i], 1e-12);
        EXPECT_EQ(oval.colour.red, 1.0);
        EXPECT_EQ(oval.colour.green, 0.72);
        EXPECT_DOUBLE_EQ(oval.x + oval.diameter / 2, 18);
        EXPECT_DOUBLE_EQ(oval.y + oval.diameter / 2, 17);
    }
    EXPECT_GT(picture.ovals[0].diameter, picture.ovals[1].diameter);
    EXPECT_GT(picture.ovals[1].diameter, picture.ovals[2].diameter);
    EXPECT_EQ(picture.texts.at(0).font, PillFont::application);
}
