#include "ui/controls/QmlWindow.h"

#include "base/Log.h"

#include <QGuiApplication>
#include <QIcon>
#include <QPixmapCache>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>
#include <cstdint>
#include <link.h>
#include <malloc.h>
#include <span>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace fenlo {

namespace {

/// Lets go of the parts of the libraries' files that are in memory, without those that were changed. What is needed
/// again is there at once, from the system's cache of files.
void forgetLibraryFiles() {
    ::dl_iterate_phdr(
        [](dl_phdr_info* library, std::size_t, void*) {
            const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
            for (const auto& part : std::span(library->dlpi_phdr, library->dlpi_phnum)) {
                if (part.p_type != PT_LOAD || (part.p_flags & PF_W) != 0)
                    continue;
                const std::uintptr_t begin = library->dlpi_addr + part.p_vaddr;
                const std::uintptr_t firstPage = begin & ~(page - 1);
                // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader tells places in memory as numbers
                ::madvise(reinterpret_cast<void*>(firstPage), begin + part.p_memsz - firstPage, MADV_DONTNEED);
            }
            return 0;
        },
        nullptr);
}

} // namespace

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
    // For window managers that look into no desktop file.
    m_window->setIcon(QIcon::fromTheme(QGuiApplication::desktopFileName()));
    // The window goes after the event that closes it.
    QObject::connect(m_window, &QQuickWindow::visibleChanged, m_window, [tellClosed](bool visible) {
        if (!visible)
            QTimer::singleShot(0, tellClosed);
    });
}

/// What was typed a moment ago counts: fields store it when the keyboard leaves them, which a window that goes may not
/// tell them any more.
QmlWindow::~QmlWindow() {
    if (QQuickItem* const field = m_window ? m_window->activeFocusItem() : nullptr)
        field->setFocus(false);
}

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
    forgetLibraryFiles();
}

} // namespace fenlo
