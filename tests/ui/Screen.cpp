#include "ui/Screen.h"

#include "base/Text.h"
#include "support/ChildProcess.h"
#include "ui/Application.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

namespace fenlo::test::screen {

namespace {

std::vector<std::string> pointerMove(ScreenPoint point) {
    return {"xdotool", "mousemove", std::to_string(point.x), std::to_string(point.y)};
}

std::string runWith(std::vector<std::string> command, const std::vector<std::string>& more) {
    command.insert(command.end(), more.begin(), more.end());
    return outputOf(command);
}

bool isAlike(const QColor& seen, QRgb colour) {
    constexpr int tolerance = 6;
    return std::abs(seen.red() - qRed(colour)) <= tolerance && std::abs(seen.green() - qGreen(colour)) <= tolerance &&
           std::abs(seen.blue() - qBlue(colour)) <= tolerance;
}

QRgb groundOf(const QImage& all) {
    return all.pixel(1, all.height() - 2);
}

} // namespace

double scale() {
    return QGuiApplication::primaryScreen()->devicePixelRatio();
}

QImage picture() {
    return QGuiApplication::primaryScreen()->grabWindow(0).toImage();
}

QColor at(double x, double y) {
    const ScreenPoint point = pixel(x, y);
    return picture().pixelColor(point.x, point.y);
}

bool shows(QRgb colour, double x, double y) {
    return isAlike(at(x, y), colour);
}

QRgb ground() {
    return groundOf(picture());
}

bool showsGround(double x, double y) {
    // One picture: the ground changes when a compositor begins to paint.
    const QImage all = picture();
    const ScreenPoint point = pixel(x, y);
    return isAlike(all.pixelColor(point.x, point.y), groundOf(all));
}

double widthInPoints() {
    return QGuiApplication::primaryScreen()->geometry().width();
}

ScreenPoint pixel(double x, double y) {
    return {static_cast<int>(x * scale()), static_cast<int>(y * scale())};
}

std::string windowUnder(ScreenPoint point) {
    const std::string location = runWith(pointerMove(point), {"getmouselocation", "--shell"});
    for (const std::string& line : text::split(location, '\n'))
        if (line.starts_with("WINDOW="))
            return line.substr(7);
    return "";
}

void click(ScreenPoint point) {
    runWith(pointerMove(point), {"click", "1"});
}

std::string activeWindow() {
    return text::trimWhitespaceAndNewlines(outputOf({"xdotool", "getactivewindow"}));
}

} // namespace fenlo::test::screen
