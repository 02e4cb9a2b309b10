#include "ui/StatusIcon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <array>

namespace fenlo {

namespace {

constexpr double side = 18; // points of the drawing

const QColor recordingRed = QColor::fromRgbF(0.95f, 0.25f, 0.25f, 1.0f);
const QColor ink(245, 245, 245);
const QColor rim(0, 0, 0, 190);
constexpr double rimWidth = 1.6;

constexpr std::array barHeights{4.0, 8.0, 12.0, 8.0, 4.0};
constexpr double barWidth = 2;
constexpr double barStep = 3;
constexpr double firstBar = 2;

QPainterPath bars(double middle, double heightScale) {
    QPainterPath path;
    double x = firstBar;
    for (const double height : barHeights) {
        const double scaled = height * heightScale;
        path.addRoundedRect(QRectF(x, middle - scaled / 2, barWidth, scaled), barWidth / 2, barWidth / 2);
        x += barStep;
    }
    return path;
}

QPainterPath barsWithDots() {
    QPainterPath path = bars(6.5, 0.75);
    for (const double x : {3.0, 8.0, 13.0})
        path.addEllipse(QRectF(x, 13.5, 2, 2));
    return path;
}

} // namespace

QImage statusImage(IconFace face, int pixels) {
    QImage image(pixels, pixels, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(pixels / side, pixels / side);
    if (face == IconFace::recording) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(recordingRed);
        painter.drawEllipse(QRectF(4, 4, 10, 10));
        return image;
    }
    const QPainterPath shape = face == IconFace::idle ? bars(side / 2, 1) : barsWithDots();
    painter.strokePath(shape, QPen(rim, rimWidth));
    painter.fillPath(shape, ink);
    return image;
}

std::vector<QImage> statusImages(IconFace face) {
    std::vector<QImage> images;
    for (const int pixels : {18, 22, 24, 36, 48})
        images.push_back(statusImage(face, pixels));
    return images;
}

QIcon statusIcon(IconFace face) {
    QIcon icon;
    for (const QImage& image : statusImages(face))
        icon.addPixmap(QPixmap::fromImage(image));
    return icon;
}

} // namespace fenlo
