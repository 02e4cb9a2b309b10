#include "ui/FloatingWindow.h"

#include "shell/PillStyle.h"
#include "ui/Milliseconds.h"
#include "ui/X11Desktop.h"

#include <QBitmap>
#include <QEvent>
#include <QGuiApplication>
#include <QPainter>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <cmath>

namespace fenlo {

FloatingWindow::FloatingWindow(double cornerRadius, int margin)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus |
                           Qt::BypassWindowManagerHint | Qt::NoDropShadowWindowHint | Qt::WindowTransparentForInput),
      m_cornerRadius(cornerRadius), m_isTranslucent(x11::hasCompositor()), m_margin(m_isTranslucent ? margin : 0),
      m_fade(this, "windowOpacity") {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_X11NetWmWindowTypeNotification);
    setAttribute(Qt::WA_QuitOnClose, false);
    setAttribute(m_isTranslucent ? Qt::WA_TranslucentBackground : Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::NoFocus);
    connect(&m_growth, &QVariantAnimation::valueChanged, this, [this](const QVariant& width) {
        setPanelSize({width.toDouble(), m_size.height()});
    });
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &FloatingWindow::follow);
    follow(QGuiApplication::primaryScreen());
}

void FloatingWindow::follow(QScreen* screen) {
    if (m_screen)
        m_screen->disconnect(this);
    m_screen = screen;
    if (!screen)
        return; // all screens are off; a new one will be announced
    connect(screen, &QScreen::geometryChanged, this, &FloatingWindow::place);
    setScreen(screen);
    place();
}

void FloatingWindow::setPanelSize(QSizeF size) {
    m_size = size;
    place();
}

void FloatingWindow::place() {
    if (!m_screen || m_size.isEmpty())
        return;
    const QRect area = m_screen->geometry();
    const QSize whole(static_cast<int>(std::ceil(m_size.width())) + 2 * m_margin,
                      static_cast<int>(std::ceil(m_size.height())) + 2 * m_margin);
    const int left = area.left() + (area.width() - whole.width()) / 2;
    const int top = area.top() + static_cast<int>(pillStyle::distanceFromTop) - m_margin;
    setGeometry({QPoint(left, top), whole});
}

void FloatingWindow::animateWidth(double width, double seconds) {
    m_growth.stop();
    if (seconds <= 0) {
        setPanelSize({width, m_size.height()});
        return;
    }
    m_growth.setStartValue(m_size.width());
    m_growth.setEndValue(width);
    m_growth.setDuration(inMilliseconds(seconds));
    m_growth.setEasingCurve(QEasingCurve::OutCubic);
    m_growth.start();
}

QRectF FloatingWindow::panel() const {
    return QRectF(rect()).adjusted(m_margin, m_margin, -m_margin, -m_margin);
}

QPainterPath FloatingWindow::outline() const {
    QPainterPath path;
    path.addRoundedRect(panel(), m_cornerRadius, m_cornerRadius);
    return path;
}

QRectF FloatingWindow::panelPixels() const {
    // Qt scales a screen about its own corner.
    const QPointF corner = screen()->geometry().topLeft();
    const double scale = devicePixelRatioF();
    const QRectF points = panel().translated(geometry().topLeft());
    return {corner + (points.topLeft() - corner) * scale, points.size() * scale};
}

// In pixels: in points the curve would be as coarse as the scale.

QRegion FloatingWindow::outlinePixels() const {
    const double scale = devicePixelRatioF();
    QBitmap bitmap((QSizeF(size()) * scale).toSize());
    bitmap.clear();
    QPainter painter(&bitmap);
    painter.scale(scale, scale);
    painter.fillPath(outline(), Qt::color1);
    painter.end();
    return QRegion(bitmap);
}

void FloatingWindow::applyOutline() {
    QWindow* const window = windowHandle();
    if (!window)
        return;
    const QRegion region = m_isTranslucent && !m_acceptsMouse ? QRegion() : outlinePixels();
    if (!m_isTranslucent)
        x11::setVisibleRegion(*window, region);
    x11::setInputRegion(*window, m_acceptsMouse ? region : QRegion());
}

void FloatingWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    applyOutline();
}

bool FloatingWindow::event(QEvent* event) {
    const bool handled = QWidget::event(event);
    if (event->type() == QEvent::WinIdChange || event->type() == QEvent::Show)
        applyOutline();
    return handled;
}

void FloatingWindow::setAcceptsMouse(bool accepts) {
    m_acceptsMouse = accepts;
    winId(); // makes the window if it was not shown yet
    windowHandle()->setFlag(Qt::WindowTransparentForInput, !accepts);
    applyOutline();
}

void FloatingWindow::fadeIn(double seconds) {
    if (m_isTranslucent && seconds > 0) {
        setWindowOpacity(0);
        m_fade.setStartValue(0.0);
        m_fade.setEndValue(1.0);
        m_fade.setDuration(inMilliseconds(seconds));
        m_fade.start();
    }
    show();
    raise();
}

void FloatingWindow::fadeOut(double seconds, std::function<void()> done) {
    setAcceptsMouse(false);
    m_growth.stop();
    m_fade.stop();
    if (!m_isTranslucent || seconds <= 0) {
        done();
        return;
    }
    connect(&m_fade, &QPropertyAnimation::finished, this, std::move(done));
    m_fade.setStartValue(windowOpacity());
    m_fade.setEndValue(0.0);
    m_fade.setDuration(inMilliseconds(seconds));
    m_fade.start();
}

void FadingWindows::add(std::unique_ptr<FloatingWindow> window, double seconds) {
    FloatingWindow* const fading = window.get();
    m_windows.push_back(std::move(window));
    fading->fadeOut(seconds, [this, fading] {
        const auto found =
            std::find_if(m_windows.begin(), m_windows.end(), [fading](auto& w) { return w.get() == fading; });
        fading->hide();
        found->release()->deleteLater(); // its animation is calling us
        m_windows.erase(found);
    });
}

} // namespace fenlo
