#pragma once

#include "platform/OverlaySurface.h"

#include <QEvent>
#include <QPointF>
#include <QPointer>
#include <QWidget>

namespace fenlo {

/// Gives a widget that no window shows the mouse of the overlay which shows its picture.
class WidgetMouse {
public:
    /// The widget outlives this. Its points are those of the overlay.
    explicit WidgetMouse(QWidget& whole) : m_whole(whole) {}

    void handle(const OverlayPointer& event);
    /// As the widget under it wants it.
    OverlayCursor cursor() const;

private:
    void moveOver(QWidget* widget, QPointF place);
    void send(QWidget& widget, QEvent::Type type, QPointF place);

    QWidget& m_whole;
    QPointer<QWidget> m_under;
    QPointer<QWidget> m_pressed; // has the mouse until the button is up
};

} // namespace fenlo
