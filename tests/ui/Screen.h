#pragma once

#include "platform/KeyEvents.h"

#include <QColor>
#include <QImage>
#include <string>

/// What another program, or the user, sees of the screen and does on it. Units: pixels, unless they are points.
namespace fenlo::test::screen {

/// The colour of the empty desktop, which a compositor replaces by its own.
inline constexpr QRgb bareGround = qRgb(0x7a, 0x9a, 0xc0);
QRgb ground();
/// Pixels for a point.
double scale();
QImage picture();
/// The pixel that this point lies in.
QColor at(double x, double y);
bool shows(QRgb colour, double x, double y);
bool showsGround(double x, double y);
double widthInPoints();

ScreenPoint pixel(double x, double y);
/// Moves the pointer there and tells which top-level window would get a click.
std::string windowUnder(ScreenPoint point);
void click(ScreenPoint point);
std::string activeWindow();

} // namespace fenlo::test::screen
