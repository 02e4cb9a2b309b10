#include "ui/WidgetMouse.h"

#include <QCoreApplication>
#include <QEnterEvent>
#include <QMouseEvent>
#include <QWheelEvent>

namespace fenlo {

namespace {

constexpr double angleUnits = 8; // of the toolkit's wheel to a point: a notch is 15 points and 120 units

} // namespace

void WidgetMouse::handle(const OverlayPointer& event) {
    using Kind = OverlayPointer::Kind;
    const QPointF place(event.x, event.y);
    QWidget* widget = event.kind == Kind::leave ? nullptr : m_whole.childAt(place.toPoint());
    if (m_pressed)
        widget = m_pressed;
    moveOver(widget, place);
    if (!widget)
        return;
    if (event.kind == Kind::down && event.isPrimary) {
        m_pressed = widget;
        send(*widget, QEvent::MouseButtonPress, place);
    } else if (event.kind == Kind::up && event.isPrimary) {
        m_pressed = nullptr;
        send(*widget, QEvent::MouseButtonRelease, place);
    } else if (event.kind == Kind::move && (m_pressed || widget->hasMouseTracking())) {
        send(*widget, QEvent::MouseMove, place);
    } else if (event.kind == Kind::scroll) {
        const QPoint turned(0, qRound(-event.scroll * angleUnits));
        QWheelEvent wheel(widget->mapFrom(&m_whole, place), m_whole.mapToGlobal(place), {}, turned, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(widget, &wheel);
    }
}

OverlayCursor WidgetMouse::cursor() const {
    switch (m_under ? m_under->cursor().shape() : Qt::ArrowCursor) {
    case Qt::PointingHandCursor:
        return OverlayCursor::hand;
    case Qt::IBeamCursor:
        return OverlayCursor::text;
    default:
        return OverlayCursor::arrow;
    }
}

void WidgetMouse::moveOver(QWidget* widget, QPointF place) {
    if (m_under == widget)
        return;
    const QPointF global = m_whole.mapToGlobal(place);
    if (m_under) {
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(m_under, &leave);
        QHoverEvent hover(QEvent::HoverLeave, {-1, -1}, global, m_under->mapFrom(&m_whole, place));
        QCoreApplication::sendEvent(m_under, &hover);
    }
    m_under = widget;
    if (widget) {
        const QPointF local = widget->mapFrom(&m_whole, place);
        QEnterEvent enter(local, place, global);
        QCoreApplication::sendEvent(widget, &enter);
        QHoverEvent hover(QEvent::HoverEnter, local, global, {-1, -1});
        QCoreApplication::sendEvent(widget, &hover);
    }
}

void WidgetMouse::send(QWidget& widget, QEvent::Type type, QPointF place) {
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    const Qt::MouseButtons held = m_pressed ? Qt::LeftButton : Qt::NoButton;
    QMouseEvent mouse(type, widget.mapFrom(&m_whole, place), place, m_whole.mapToGlobal(place), button, held,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &mouse);
}

} // namespace fenlo
