#include "ui/PillPainter.h"

#include "shell/PillStyle.h"
#include "ui/PillFonts.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace fenlo {

QColor toQColor(const Colour& colour) {
    return QColor::fromRgbF(static_cast<float>(colour.red), static_cast<float>(colour.green),
                            static_cast<float>(colour.blue), static_cast<float>(colour.alpha));
}

void paintPanel(QPainter& painter, const QRectF& panel, double cornerRadius, bool isOpaque) {
    const auto ground = [isOpaque](Colour colour) {
        if (isOpaque)
            colour.alpha = 1;
        return toQColor(colour);
    };
    QLinearGradient gradient(panel.topLeft(), panel.bottomLeft());
    gradient.setColorAt(0, ground(pillStyle::backgroundTop));
    gradient.setColorAt(1, ground(pillStyle::backgroundBottom));

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(gradient);
    if (isOpaque)
        painter.drawRect(panel); // the window is cut to its outline, where a soft edge would show old pixels
    else
        painter.drawRoundedRect(panel, cornerRadius, cornerRadius);

    constexpr double inset = pillStyle::outlineInset;
    painter.setPen(QPen(toQColor(pillStyle::outline), pillStyle::outlineWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(panel.adjusted(inset, inset, -inset, -inset), cornerRadius - inset, cornerRadius - inset);
    painter.restore();
}

void paintPill(QPainter& painter, const PillFonts& fonts, const PillPicture& picture, double width, bool isOpaque) {
    paintPanel(painter, QRectF(0, 0, width, pillStyle::height), pillStyle::cornerRadius, isOpaque);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (const auto& oval : picture.ovals) {
        painter.setBrush(toQColor(oval.colour));
        painter.drawEllipse(QRectF(oval.x, oval.y, oval.diameter, oval.diameter));
    }
    for (const auto& rule : picture.rules)
        painter.fillRect(QRectF(rule.x, rule.y, rule.width, rule.height), toQColor(rule.colour));
    for (const auto& text : picture.texts)
        fonts.draw(painter, text.x, pillStyle::height / 2, text);
}

} // namespace fenlo
