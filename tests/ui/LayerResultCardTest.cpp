#include "ui/LayerResultCard.h"
#include "shell/PillStyle.h"
#include "ui/Application.h"
#include "ui/Stage.h"

#include <gtest/gtest.h>

using namespace fenlo;
using test::pumpUntil;
using test::Stage;
using test::StagedSurfaces;

namespace {

constexpr double cardWidth = 400, cardHeight = 140;

class LayerCard : public ::testing::Test {
protected:
    void show(const std::string& more = " is the answer.") {
        card = cards.make({{{TextPart::Kind::link, "https://a.example/"}, {TextPart::Kind::plain, more}},
                           [this] { ++copies; },
                           [this] { ++dismissals; },
                           [this](const std::string& address) { opened.push_back(address); }},
                          cardWidth, cardHeight);
        card->fadeIn(0.05);
        ASSERT_TRUE(pumpUntil([&] { return stage.opacity(x(200), y(135)) > 240; }));
    }
    /// A point of the card, counted from its corner; round it is room for its shadow.
    double x(double of) const { return (stage.frame->width - cardWidth) / 2 + of; }
    double y(double of) const { return (stage.frame->height - cardHeight) / 2 + of; }

    Stage stage;
    LayerResultCards cards{std::make_unique<StagedSurfaces>(stage)};
    std::unique_ptr<ResultCard> card;
    int copies = 0, dismissals = 0;
    std::vector<std::string> opened;
};

} // namespace

TEST_F(LayerCard, StandsWhereThePillStood) {
    show();
    EXPECT_EQ(stage.distanceFromTop + y(0), pillStyle::distanceFromTop);
    EXPECT_TRUE(stage.takesMouseAt(int(x(200)), int(y(70))));
    EXPECT_FALSE(stage.takesMouseAt(int(x(1)), int(y(1)))) << "round corners";
    EXPECT_FALSE(stage.takesMouseAt(int(x(200)), int(y(-3)))) << "a shadow takes no clicks";
    EXPECT_LT(stage.opacity(x(200), y(-3)), 128u);
}

TEST_F(LayerCard, ItsButtonsAndLinksWorkWithTheMouse) {
    show();
    stage.click(x(60), y(cardHeight - 33));
    EXPECT_EQ(copies, 1);
    EXPECT_EQ(stage.cursor, OverlayCursor::hand);
    const std::uint32_t under = stage.pixel(x(116), y(cardHeight - 33));
    card->showCopied();
    stage.point(OverlayPointer::Kind::leave, 0, 0);
    EXPECT_TRUE(pumpUntil([&] { return stage.pixel(x(116), y(cardHeight - 33)) != under; })) << "the hand has left it";
    stage.click(x(60), y(60));
    EXPECT_EQ(opened, std::vector<std::string>{"https://a.example/"});
    stage.click(x(200), y(20));
    EXPECT_EQ(stage.cursor, OverlayCursor::arrow);
    stage.onPointer({.kind = OverlayPointer::Kind::down, .x = x(370), .y = y(29), .isPrimary = false});
    stage.press(x(370), y(29));
    EXPECT_EQ(dismissals, 0) << "not before the button is up";
    stage.point(OverlayPointer::Kind::up, x(370), y(29));
    EXPECT_EQ(dismissals, 1);
}

TEST_F(LayerCard, ALongTextIsScrolled) {
    std::string lines = "\nA line of text";
    for (int i = 0; i < 5; ++i)
        lines += lines;
    show(lines);
    const auto before = stage.frame->pixels;
    stage.onPointer({.kind = OverlayPointer::Kind::scroll, .x = x(100), .y = y(60), .scroll = 15});
    EXPECT_TRUE(pumpUntil([&] { return stage.frame->pixels != before; }));
}

TEST_F(LayerCard, AMouseDownOutsideDismissesItOnce) {
    show();
    stage.onOutside();
    EXPECT_EQ(dismissals, 1);
    cards.fadeOut(std::move(card), 0.1);
    EXPECT_FALSE(stage.onOutside) << "the desktop is free again";
    EXPECT_TRUE(stage.region.empty());
    EXPECT_TRUE(pumpUntil([&] { return stage.isThere && stage.opacity(x(200), y(135)) < 128; }));
    EXPECT_TRUE(pumpUntil([&] { return !stage.isThere; }));
}
