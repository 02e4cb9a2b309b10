#include "platform/desktop/VirtualDesktop.h"
#include "shell/PillStyle.h"
#include "ui/Application.h"
#include "ui/OtherWindow.h"
#include "ui/QtPillWindow.h"
#include "ui/Screen.h"
#include "ui/X11Desktop.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace fenlo;
using test::pumpUntil;
namespace screen = test::screen;

namespace {

constexpr QRgb recordingRed = qRgb(255, 82, 82);

class Pill : public ::testing::Test {
protected:
    void TearDown() override {
        pill.reset();
        pumpUntil([] { return screen::showsGround(screen::widthInPoints() / 2, 65); });
    }

    void show(double width) {
        pill = pills.make(width);
        pill->setPicture(picture());
        pill->fadeIn(0.1);
        ASSERT_TRUE(pumpUntil([&] { return showsDot(width); }))
            << screen::at(left(width) + 18, 65).name().toStdString();
    }
    static PillPicture picture() {
        PillPicture picture;
        picture.ovals = {{14, 13, 8, pillStyle::recordingDot}};
        return picture;
    }
    static double left(double width) { return (screen::widthInPoints() - width) / 2; }
    static bool showsDot(double width) { return screen::shows(recordingRed, left(width) + 18, 65); }

    QtPillWindows pills;
    std::unique_ptr<PillWindow> pill;
};

class PillWithCompositor : public Pill {
protected:
    void SetUp() override {
        compositor = test::ChildProcess({"picom", "--backend", "xrender", "--config", "/dev/null"});
        ASSERT_TRUE(pumpUntil([] { return x11::hasCompositor(); }, 10));
    }
    void TearDown() override {
        Pill::TearDown();
        compositor = {};
        ASSERT_TRUE(pumpUntil([] { return !x11::hasCompositor() && screen::ground() == screen::bareGround; }));
    }
    test::ChildProcess compositor;
};

} // namespace

TEST_F(Pill, StandsInTheMiddleBelowTheTopEdge) {
    show(98);
    EXPECT_FALSE(screen::showsGround(left(98) + 49, 49));
    EXPECT_FALSE(screen::showsGround(left(98) + 49, 81));
    EXPECT_TRUE(screen::showsGround(left(98) + 49, 46.5));
    EXPECT_TRUE(screen::showsGround(left(98) + 49, 83));
    EXPECT_FALSE(screen::showsGround(left(98) + 1.5, 65));
    EXPECT_FALSE(screen::showsGround(left(98) + 96, 65));
    EXPECT_TRUE(screen::showsGround(left(98) - 1.5, 65));
    EXPECT_TRUE(screen::showsGround(left(98) + 99.5, 65));
}

TEST_F(Pill, HasNoBlackCornersWithoutACompositor) {
    ASSERT_FALSE(x11::hasCompositor());
    show(98);
    for (const double x : {2.0, 96.0})
        for (const double y : {50.0, 80.0})
            EXPECT_TRUE(screen::showsGround(left(98) + x, y))
                << x << ", " << y << " is " << screen::at(left(98) + x, y).name().toStdString();
    pill->setWidth(180, 0);
    EXPECT_TRUE(pumpUntil([&] { return showsDot(180) && !screen::showsGround(left(180) + 170, 65); }));
    EXPECT_TRUE(screen::showsGround(left(180) + 2, 50)) << "also after it grew";
}

TEST_F(Pill, LeavesTheFocusAndLetsClicksThrough) {
    test::OtherWindow editor;
    editor.activate();
    ASSERT_TRUE(pumpUntil([&] { return screen::activeWindow() == editor.id(); }));
    show(98);
    EXPECT_EQ(screen::activeWindow(), editor.id());
    const ScreenPoint middle = screen::pixel(left(98) + 49, 65);
    const std::string below = screen::windowUnder(middle);

    int clicks = 0;
    pill->acceptMouse([&] { ++clicks; });
    ASSERT_TRUE(pumpUntil([&] { return screen::windowUnder(middle) != below; }));
    screen::click(middle);
    EXPECT_TRUE(pumpUntil([&] { return clicks == 1; }));
    EXPECT_EQ(screen::activeWindow(), editor.id()) << "not even a click takes it";
    EXPECT_EQ(screen::windowUnder(screen::pixel(left(98) + 2, 50)), below) << "the corners are no part of it";

    pills.fadeOut(std::move(pill), 0.1);
    EXPECT_TRUE(pumpUntil([&] { return screen::windowUnder(middle) == below; }));
}

TEST_F(Pill, StaysAboveWindowsThatAreRaisedAndOnEveryDesktop) {
    test::OtherWindow editor;
    show(98);
    test::outputOf({"xdotool", "windowmove", editor.id(), "0", "0"});
    test::outputOf({"xdotool", "windowsize", editor.id(), "1000", "700"});
    editor.activate();
    EXPECT_TRUE(pumpUntil([&] { return showsDot(98) && !screen::showsGround(left(98) - 30, 65); }));
    test::outputOf({"xdotool", "set_desktop", "1"});
    EXPECT_TRUE(pumpUntil([&] { return showsDot(98) && screen::showsGround(left(98) - 30, 65); }));
    test::outputOf({"xdotool", "set_desktop", "0"});
}

TEST_F(Pill, FollowsTheScreen) {
    show(98);
    const double before = screen::widthInPoints();
    test::outputOf({"xrandr", "--newmode", "small", "25", "800", "810", "820", "830", "600", "601", "602", "603"});
    test::outputOf({"xrandr", "--addmode", "screen", "small"});
    test::outputOf({"xrandr", "--output", "screen", "--mode", "small"});
    ASSERT_TRUE(pumpUntil([&] { return screen::widthInPoints() != before; }));
    EXPECT_TRUE(pumpUntil([&] { return showsDot(98); }));
    test::outputOf({"xrandr", "--output", "screen", "--mode", "1024x768"});
    ASSERT_TRUE(pumpUntil([&] { return screen::widthInPoints() == before; }));
    EXPECT_TRUE(pumpUntil([&] { return showsDot(98); }));
}

TEST_F(PillWithCompositor, IsSlightlyTranslucentWithSoftCorners) {
    show(98);
    // A compositor that has just started announces itself before it paints.
    EXPECT_TRUE(pumpUntil([&] { return screen::showsGround(left(98) + 2, 50); }));
    EXPECT_TRUE(pumpUntil([&] {
        const double shining = 0.96 * 0.11 + 0.04 * qGreen(screen::ground()) / 255.0;
        return std::abs(screen::at(left(98) + 60, 65).greenF() - shining) < 0.012;
    })) << "the desktop shines through";
}

TEST_F(PillWithCompositor, FadesOutWhileTheNextOneShows) {
    show(98);
    pills.fadeOut(std::move(pill), 0.3);
    show(180);
    EXPECT_TRUE(pumpUntil([&] { return showsDot(180); }));
    pill.reset();
    EXPECT_TRUE(pumpUntil([&] { return screen::showsGround(left(98) + 49, 65); }));
}

TEST_F(PillWithCompositor, GrowsStepByStep) {
    show(98);
    // A compositor that has just started announces itself before it paints.
    ASSERT_TRUE(pumpUntil([&] { return screen::showsGround(left(180) + 3, 65); }));
    pill->setWidth(180, 3); // long enough for a busy machine to look in between
    test::pump();
    EXPECT_TRUE(screen::showsGround(left(180) + 3, 65))
        << "not at once: " << screen::at(left(180) + 3, 65).name().toStdString();
    EXPECT_TRUE(pumpUntil([&] { return showsDot(180) && !screen::showsGround(left(180) + 177, 65); }));
}
