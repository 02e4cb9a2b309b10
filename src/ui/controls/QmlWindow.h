#pragma once

#include <QVariantMap>
#include <functional>
#include <memory>
#include <string>

class QQmlApplicationEngine;
class QQuickWindow;

namespace fenlo {

/// A window that is described in QML, loaded when this is made and freed with it.
///
/// Threads:  main thread only.
/// Errors:   a file that cannot be shown is logged; the window then counts as closed.
/// Lifetime: what the properties point to outlives this.
class QmlWindow {
public:
    /// Lets the processor draw all windows: forms and lists come faster that way, in a third of the memory, and on
    /// every machine. Once, before the first window.
    static void drawBySoftware();

    /// `file` is a path below the program's QML modules, such as "Home/HomeWindow.qml". `closed` is called from the
    /// event loop, once, when the user has closed the window; it may destroy this.
    QmlWindow(const std::string& file, const QVariantMap& properties, std::function<void()> closed);
    QmlWindow(const QmlWindow&) = delete;
    QmlWindow& operator=(const QmlWindow&) = delete;
    ~QmlWindow();

    /// Shows it before all others, with the keyboard.
    void toFront();
    /// The root of the file; null when it could not be shown.
    QQuickWindow* window() const { return m_window; }

    /// Gives the memory of closed windows back to the system.
    static void trimMemory();

private:
    std::unique_ptr<QQmlApplicationEngine> m_engine;
    QQuickWindow* m_window = nullptr; // the engine's
    std::function<void()> m_closed;
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};

} // namespace fenlo
