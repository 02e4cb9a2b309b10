#include "ui/LayerPillWindow.h"
#include "shell/PillStyle.h"
#include "ui/Application.h"
#include "ui/Stage.h"

#include <gtest/gtest.h>

using namespace fenlo;
using test::pumpUntil;
using test::Stage;
using test::StagedSurfaces;

namespace {

class LayerPill : public ::testing::Test {
protected:
    void show(double width) {
        pill = pills.make(width);
        EXPECT_EQ(stage.distanceFromTop, pillStyle::distanceFromTop);
        PillPicture picture;
        picture.ovals = {{14, 13, 8, pillStyle::recordingDot}};
        pill->setPicture(picture);
        EXPECT_FALSE(stage.frame) << "not before it fades in";
        pill->fadeIn(0.05);
        ASSERT_TRUE(pumpUntil([&] { return stage.opacity(width / 2, 5) > 240; }));
    }
    static constexpr std::uint32_t red = 0xFFFF5252;

    Stage stage;
    LayerPillWindows pills{std::make_unique<StagedSurfaces>(stage)};
    std::unique_ptr<PillWindow> pill;
};

} // namespace

TEST_F(LayerPill, IsPaintedInThePixelsOfItsScreen) {
    show(98);
    EXPECT_EQ(stage.frame->width, 98);
    EXPECT_EQ(stage.frame->columns, 98);
    EXPECT_EQ(stage.pixel(18, 17), red);
    EXPECT_EQ(stage.opacity(1, 1), 0u) << "round corners";
    for (const double scale : {2.0, 1.5}) {
        stage.scale = scale;
        stage.onScale();
        EXPECT_EQ(stage.frame->width, 98);
        EXPECT_EQ(stage.frame->columns, static_cast<int>(98 * scale));
        EXPECT_EQ(stage.frame->pixels.size(), static_cast<std::size_t>(stage.frame->columns * stage.frame->rows));
        EXPECT_EQ(stage.pixel(18, 17), red);
    }
}

TEST_F(LayerPill, GrowsFromItsMiddleOnASurfaceThatNeverShrinks) {
    show(98);
    pill->setWidth(180, 0.1);
    EXPECT_TRUE(pumpUntil([&] { return stage.frame->width == 180 && stage.opacity(20, 17) == 0; })) << "room at once";
    EXPECT_TRUE(pumpUntil([&] { return stage.opacity(2, 17) > 240 && stage.opacity(177, 17) > 240; }));
    pill->setWidth(120, 0);
    EXPECT_EQ(stage.frame->width, 180);
    EXPECT_EQ(stage.opacity(25, 17), 0u);
    EXPECT_EQ(stage.pixel(30 + 18, 17), red);
}

TEST_F(LayerPill, TakesTheMouseWithinItsOutlineUntilItFades) {
    show(98);
    EXPECT_TRUE(stage.region.empty());
    int presses = 0;
    pill->acceptMouse([&] { ++presses; });
    pill->setWidth(180, 0);
    EXPECT_TRUE(stage.takesMouseAt(90, 17));
    EXPECT_TRUE(stage.takesMouseAt(1, 17));
    EXPECT_FALSE(stage.takesMouseAt(1, 1));
    EXPECT_FALSE(stage.takesMouseAt(178, 32));
    stage.press(90, 17);
    EXPECT_EQ(presses, 1);

    pills.fadeOut(std::move(pill), 0.1);
    EXPECT_TRUE(stage.region.empty());
    EXPECT_TRUE(pumpUntil([&] { return stage.isThere && stage.opacity(90, 5) < 128; }));
    EXPECT_TRUE(pumpUntil([&] { return !stage.isThere; }));
}
