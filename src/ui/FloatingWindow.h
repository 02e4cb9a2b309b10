#pragma once

#include <QPainterPath>
#include <QPointer>
#include <QPropertyAnimation>
#include <QVariantAnimation>
#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

class QScreen;

namespace fenlo {

/// A rounded panel at the top of the main screen, which stays centred there when screens change. It is not managed by
/// the window manager: it is above other windows and on all desktops, and never takes the focus. It ignores the mouse
/// at first.
///
/// Where the desktop has a compositor it is translucent and fades; otherwise it is cut to its outline, opaque, and
/// comes and goes at once.
class FloatingWindow : public QWidget {
public:
    /// `margin` is the room round the panel for a shadow, which only a compositor can show.
    FloatingWindow(double cornerRadius, int margin);

    void setPanelSize(QSizeF size);
    void animateWidth(double width, double seconds);
    void setAcceptsMouse(bool accepts);
    void fadeIn(double seconds);
    /// Calls `done` when it is off the screen, perhaps at once.
    void fadeOut(double seconds, std::function<void()> done);

    bool isTranslucent() const { return m_isTranslucent; }
    /// The panel without its margin, in the window's points.
    QRectF panel() const;
    QPainterPath outline() const;
    /// The panel on the desktop, in its pixels.
    QRectF panelPixels() const;

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;

private:
    void follow(QScreen* screen);
    void place();
    QRegion outlinePixels() const;
    void applyOutline();

    const double m_cornerRadius;
    const bool m_isTranslucent;
    const int m_margin;
    bool m_acceptsMouse = false;
    QSizeF m_size;
    QPointer<QScreen> m_screen;
    QPropertyAnimation m_fade;
    QVariantAnimation m_growth;
};

/// Windows on their way out.
class FadingWindows {
public:
    void add(std::unique_ptr<FloatingWindow> window, double seconds);

private:
    std::vector<std::unique_ptr<FloatingWindow>> m_windows;
};

} // namespace fenlo
