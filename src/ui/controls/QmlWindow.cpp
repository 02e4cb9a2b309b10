#include "ui/controls/QmlWindow.h"

#include "base/Log.h"

#include <QPixmapCache>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTimer>
#include <malloc.h>
#include <utility>

namespace fenlo {

QmlWindow::QmlWindow(const std::string& file, const QVariantMap& properties, std::function<void()> closed)
    : m_closed(std::move(closed)) {
    m_engine = std::make_unique<QQmlApplicationEngine>();
    m_engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
    m_engine->setInitialProperties(properties);
    m_engine->load(QUrl(QStringLiteral("qrc:/qt/qml/Fenlo/") + QString::fromStdString(file)));
    if (!m_engine->rootObjects().isEmpty())
        m_window = qobject_cast<QQuickWindow*>(m_engine->rootObjects().constFirst());
    if (!m_window)
        logError("the window {} cannot be shown; are Qt Quick's modules installed?", file);

    const auto tellClosed = [this, alive = std::weak_ptr<bool>(m_alive)] {
        if (!alive.expired() && m_closed)
            std::exchange(m_closed, nullptr)();
    };
    if (!m_window) {
        QTimer::singleShot(0, tellClosed);
        return;
    }
    // The window goes after the event that closes it.
    QObject::connect(m_window, &QQuickWindow::visibleChanged, m_window, [tellClosed](bool visible) {
        if (!visible)
            QTimer::singleShot(0, tellClosed);
    });
}

QmlWindow::~QmlWindow() = default;

void QmlWindow::drawBySoftware() {
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

void QmlWindow::toFront() {
    if (!m_window)
        return;
    if (m_window->windowStates() & Qt::WindowMinimized)
        m_window->showNormal();
    m_window->show();
    m_window->raise();
    m_window->requestActivate();
}

void QmlWindow::trimMemory() {
    QPixmapCache::clear();
    ::malloc_trim(0);
}

} // namespace fenlo
