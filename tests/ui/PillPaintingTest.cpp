#include "shell/PillContent.h"
#include "shell/PillStyle.h"
#include "ui/Application.h"
#include "ui/PillFonts.h"
#include "ui/PillPainter.h"

#include <QFontDatabase>
#include <QPainter>
#include <gtest/gtest.h>

using namespace fenlo;

namespace {

class Painting : public ::testing::TestWithParam<double> {
protected:
    /// The pill of the base width at the scale of the parameter.
    QImage paint(const PillPicture& picture, bool isOpaque = false) {
        const double scale = GetParam();
        QImage image(int(98 * scale), int(34 * scale), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.scale(scale, scale);
        paintPill(painter, fonts, picture, 98, isOpaque);
        return image;
    }
    QColor at(const QImage& image, double x, double y) const {
        return image.pixelColor(int(x * GetParam()), int(y * GetParam()));
    }

    PillFonts fonts;
};

void expectColour(const QColor& seen, double red, double green, double blue, double alpha) {
    constexpr double tolerance = 0.012; // three steps of 8 bits
    EXPECT_NEAR(seen.redF(), red, tolerance);
    EXPECT_NEAR(seen.greenF(), green, tolerance);
    EXPECT_NEAR(seen.blueF(), blue, tolerance);
    EXPECT_NEAR(seen.alphaF(), alpha, tolerance);
}

} // namespace

TEST_P(Painting, TheGroundRunsFromLightToDarkWithinRoundEnds) {
    const QImage image = paint({});
    EXPECT_GT(at(image, 49, 1.5).lightness(), at(image, 49, 32.5).lightness());
    for (const auto& [x, y] : {std::pair{1.0, 1.0}, {97.0, 1.0}, {1.0, 33.0}, {97.0, 33.0}, {4.5, 4.5}})
        EXPECT_LT(at(image, x, y).alphaF(), 0.05) << x << ", " << y;
    EXPECT_GT(at(image, 1, 17).alphaF(), 0.9) << "the ends are half circles";
    EXPECT_GT(at(image, 5.6, 5.6).alphaF(), 0.9);
}

TEST_P(Painting, WithoutACompositorItIsOpaque) {
    const QImage image = paint({}, true);
    for (int x = 0; x < image.width(); x += 7)
        for (int y = 0; y < image.height(); y += 5)
            ASSERT_EQ(image.pixelColor(x, y).alpha(), 255) << x << ", " << y;
    expectColour(at(image, 49, 17), 0.11, 0.11, 0.13, 1);
}

TEST_P(Painting, ShapesAndTextsStandAtTheirPlaces) {
    PillPicture picture;
    picture.ovals = {{14, 13, 8, pillStyle::recordingDot}};
    picture.rules = {{60, 9, 2, 16, {0, 1, 0, 1}}};
    picture.texts = {{30, "H", PillFont::text, {1, 1, 1, 1}}};
    const QImage image = paint(picture);
    expectColour(at(image, 18, 17), 1.0, 0.32, 0.32, 0.998);
    expectColour(at(image, 12, 17), 0.11, 0.11, 0.13, 0.96);
    EXPECT_GT(at(image, 60.6, 10).greenF(), 0.9);
    EXPECT_LT(at(image, 60.6, 26).greenF(), 0.2);

    int top = image.height(), bottom = 0, left = image.width();
    for (int y = 0; y < image.height(); ++y)
        for (int x = int(27 * GetParam()); x < int(50 * GetParam()); ++x)
            if (image.pixelColor(x, y).lightnessF() > 0.5) {
                top = std::min(top, y);
                bottom = std::max(bottom, y);
                left = std::min(left, x);
            }
    EXPECT_NEAR((top + bottom + 1) / 2.0 / GetParam(), 17, 0.8) << "capitals are centred";
    EXPECT_NEAR(left / GetParam(), 31, 1.5);
}

INSTANTIATE_TEST_SUITE_P(Scales, Painting, ::testing::Values(1.0, 1.5, 2.0));

TEST(PillFonts, AClockKeepsItsWidth) {
    // Shows best with a font whose digit one is narrow.
    if (QFontDatabase::families().contains("Inter"))
        QApplication::setFont(QFont("Inter"));
    const PillFonts fonts;
    const double width = fonts.width("0.00s", PillFont::text);
    EXPECT_GT(width, 25);
    EXPECT_LT(width, 50);
    for (const char* text : {"1.11s", "7.41s", "9.99s"})
        EXPECT_DOUBLE_EQ(fonts.width(text, PillFont::text), width) << text;
    EXPECT_GT(fonts.width("10.00s", PillFont::text), width);
    EXPECT_LT(fonts.width("tap to stop", PillFont::cancel), pillStyle::cancelRoom) << "the offer fits its room";
    EXPECT_LT(fonts.width("0.00s", PillFont::application), width);
    QApplication::setFont(QFont());
}
