#pragma once

#include "platform/PillWindow.h"

#include <QColor>

class QPainter;
class QPainterPath;
class QRectF;

namespace fenlo {

class PillFonts;

QColor toQColor(const Colour& colour);

/// The dark ground of pill and card with its fine outline. `isOpaque` leaves out its slight translucency.
void paintPanel(QPainter& painter, const QRectF& panel, double cornerRadius, bool isOpaque);

/// The pill, from the painter's origin. Units: points.
void paintPill(QPainter& painter, const PillFonts& fonts, const PillPicture& picture, double width, bool isOpaque);

} // namespace fenlo
