#include "ui/Application.h"
#include "ui/OtherWindow.h"
#include "ui/QtResultCard.h"
#include "ui/Screen.h"

#include <gtest/gtest.h>

using namespace fenlo;
using test::pumpUntil;
namespace screen = test::screen;

namespace {

class Card : public ::testing::Test {
protected:
    void show() {
        card = cards.make({{{TextPart::Kind::link, "https://a.example/"}, {TextPart::Kind::plain, " is the answer."}},
                           [this] { ++copies; },
                           [this] { ++dismissals; },
                           [this](const std::string& address) { opened.push_back(address); }},
                          400, 140);
        card->fadeIn(0.1);
        ASSERT_TRUE(pumpUntil([&] { return !isGround(left() + 3, 100) && !isGround(left() + 200, 184); }));
    }
    static double left() { return (screen::widthInPoints() - 400) / 2; }
    static bool isGround(double x, double y) { return screen::shows(screen::ground(), x, y); }
    /// Clicks a point of the card, counted from its corner.
    static void click(double x, double y) { screen::click(screen::pixel(left() + x, 48 + y)); }

    QtResultCards cards;
    std::unique_ptr<ResultCard> card;
    int copies = 0, dismissals = 0;
    std::vector<std::string> opened;
};

} // namespace

TEST_F(Card, StandsWhereThePillStoodAndKnowsItsPlace) {
    show();
    EXPECT_TRUE(isGround(left() + 2, 50)) << "round corners, not black ones";
    EXPECT_TRUE(isGround(left() + 300, 46));
    EXPECT_FALSE(isGround(left() + 3, 100));
    EXPECT_FALSE(isGround(left() + 397, 186 - 20));
    EXPECT_TRUE(isGround(left() + 300, 190));
    EXPECT_TRUE(card->contains(screen::pixel(left() + 1, 100)));
    EXPECT_TRUE(card->contains(screen::pixel(left() + 399, 186)));
    EXPECT_FALSE(card->contains(screen::pixel(left() - 2, 100)));
    EXPECT_FALSE(card->contains(screen::pixel(left() + 402, 100)));
    EXPECT_FALSE(card->contains(screen::pixel(left() + 200, 45)));
    EXPECT_FALSE(card->contains(screen::pixel(left() + 200, 191)));
}

TEST_F(Card, ItsButtonsAndLinksWorkWithoutTakingTheFocus) {
    test::OtherWindow editor;
    editor.activate();
    ASSERT_TRUE(pumpUntil([&] { return screen::activeWindow() == editor.id(); }));
    show();
    click(60, 140 - 33);
    EXPECT_TRUE(pumpUntil([&] { return copies == 1; }));
    click(60, 60);
    EXPECT_TRUE(pumpUntil([&] { return opened == std::vector<std::string>{"https://a.example/"}; }));
    click(370, 29);
    EXPECT_TRUE(pumpUntil([&] { return dismissals == 1; }));
    EXPECT_EQ(screen::activeWindow(), editor.id());

    cards.fadeOut(std::move(card), 0.1);
    EXPECT_TRUE(pumpUntil([&] { return isGround(left() + 380, 150); }));
}

TEST_F(Card, TellsThatTheTextWasCopied) {
    show();
    const auto button = [] {
        return screen::picture().copy(QRect(int((left() + 22) * screen::scale()), int(140 * screen::scale()),
                                            int(96 * screen::scale()), int(30 * screen::scale())));
    };
    const QImage before = button();
    card->showCopied();
    EXPECT_TRUE(pumpUntil([&] {
        const QImage after = button();
        for (int y = 0; y < after.height(); ++y)
            for (int x = 0; x < after.width(); ++x)
                if (after.pixelColor(x, y).green() > after.pixelColor(x, y).red() + 60)
                    return after != before;
        return false;
    })) << "a green check mark";
}
