#include "ui/onboarding/WelcomeWindow.h"

#include "ui/X11Desktop.h"
#include "ui/controls/Appearance.h"
#include "ui/controls/QmlWindow.h"

#include <QPainterPath>
#include <QQuickWindow>
#include <QRegion>
#include <QTransform>
#include <QVariant>
#include <utility>

namespace fenlo {

namespace {

constexpr double shownFor = 8.0;    // seconds
constexpr double cornerRadius = 16; // points
constexpr double shadowMargin = 24; // points round the panel, where a shadow can be seen

} // namespace

WelcomeWindow::WelcomeWindow(Appearance& appearance, MainQueue& mainQueue, std::function<std::string()> hotkey)
    : m_appearance(appearance), m_mainQueue(mainQueue), m_hotkey(std::move(hotkey)) {}

WelcomeWindow::~WelcomeWindow() = default;

void WelcomeWindow::show() {
    const double margin = x11::hasCompositor() ? shadowMargin : 0;
    m_window = std::make_unique<QmlWindow>("Onboarding/WelcomeWindow.qml",
                                           QVariantMap{{"appearance", QVariant::fromValue(&m_appearance)},
                                                       {"hotkey", QString::fromStdString(m_hotkey())},
                                                       {"corner", cornerRadius},
                                                       {"margin", margin}},
                                           [this] {
                                               m_limit.cancel();
                                               m_window.reset();
                                               QmlWindow::trimMemory();
                                           });
    m_window->toFront();
    if (margin == 0)
        cutCorners();
    m_limit = m_mainQueue.postAfter(shownFor, [this] {
        if (QQuickWindow* window = m_window ? m_window->window() : nullptr)
            window->setProperty("isLeaving", true);
    });
}

/// Without a compositor what is not painted is black.
void WelcomeWindow::cutCorners() {
    QQuickWindow* const window = m_window->window();
    if (!window)
        return;
    const double scale = window->devicePixelRatio();
    QPainterPath outline;
    outline.addRoundedRect(QRectF(QPointF(0, 0), QSizeF(window->size()) * scale), cornerRadius * scale,
                           cornerRadius * scale);
    x11::setVisibleRegion(*window, QRegion(outline.toFillPolygon().toPolygon()));
}

} // namespace fenlo
