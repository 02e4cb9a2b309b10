#include "ui/StatusIcon.h"

#include <gtest/gtest.h>

using namespace fenlo;

namespace {

/// How many pixels differ between the two images.
int difference(const QImage& a, const QImage& b) {
    int count = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x)
            count += a.pixel(x, y) != b.pixel(x, y);
    return count;
}

} // namespace

TEST(StatusIcon, RecordingIsARedDotInTheMiddle) {
    for (const int pixels : {18, 36}) {
        const QImage image = statusImage(IconFace::recording, pixels);
        const double scale = pixels / 18.0;
        const auto at = [&](double x, double y) { return image.pixelColor(int(x * scale), int(y * scale)); };
        EXPECT_EQ(at(9, 9).rgb(), qRgb(242, 64, 64));
        EXPECT_EQ(at(4.5, 9).red(), 242);
        EXPECT_EQ(at(13.4, 9).red(), 242);
        for (const auto& [x, y] : {std::pair{3.0, 9.0}, {15.0, 9.0}, {9.0, 3.0}, {9.0, 15.0}, {4.0, 4.0}})
            EXPECT_EQ(at(x, y).alpha(), 0) << x << ", " << y;
    }
}

TEST(StatusIcon, IdleAndProcessingDifferAndReadOnLightAndDarkPanels) {
    const QImage idle = statusImage(IconFace::idle, 18);
    const QImage processing = statusImage(IconFace::processing, 18);
    EXPECT_GT(difference(idle, processing), 20);
    for (const QImage& image : {idle, processing}) {
        bool hasLight = false, hasDark = false;
        for (int y = 0; y < 18; ++y)
            for (int x = 0; x < 18; ++x) {
                const QColor colour = image.pixelColor(x, y);
                hasLight |= colour.alpha() > 200 && colour.lightness() > 200;
                hasDark |= colour.alpha() > 80 && colour.lightness() < 60;
            }
        EXPECT_TRUE(hasLight);
        EXPECT_TRUE(hasDark);
    }
    EXPECT_EQ(statusIcon(IconFace::idle).availableSizes().size(), 5);
}
