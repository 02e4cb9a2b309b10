#include "ui/CardIcons.h"

#include <QPainter>
#include <QPixmap>
#include <functional>

namespace fenlo::cardIcon {

namespace {

constexpr int iconSide = 16; // points
const QColor ink(255, 255, 255, 204);
const QColor green(92, 214, 134);

/// Draws the icon for screens of one, two and three pixels a point.
QIcon drawn(const QColor& colour, const std::function<void(QPainter&)>& draw) {
    QIcon icon;
    for (const int scale : {1, 2, 3}) {
        QPixmap pixmap(iconSide * scale, iconSide * scale);
        pixmap.setDevicePixelRatio(scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(colour, 1.4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        draw(painter);
        icon.addPixmap(pixmap);
    }
    return icon;
}

} // namespace

QIcon copy() {
    return drawn(ink, [](QPainter& painter) {
        painter.drawRoundedRect(QRectF(5.5, 5.5, 8, 8), 2, 2);
        const QPointF behind[]{{10.5, 2.5}, {4.5, 2.5}, {2.5, 4.5}, {2.5, 10.5}};
        painter.drawPolyline(behind, 4);
    });
}

QIcon checkMark() {
    return drawn(green, [](QPainter& painter) {
        const QPointF mark[]{{3, 8.5}, {6.5, 12}, {13, 4.5}};
        painter.drawPolyline(mark, 3);
    });
}

QIcon cross() {
    return drawn(ink, [](QPainter& painter) {
        painter.drawLine(QPointF(4.5, 4.5), QPointF(11.5, 11.5));
        painter.drawLine(QPointF(11.5, 4.5), QPointF(4.5, 11.5));
    });
}

} // namespace fenlo::cardIcon
