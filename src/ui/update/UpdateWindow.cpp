#include "ui/update/UpdateWindow.h"

#include "ui/controls/Appearance.h"
#include "ui/controls/QmlWindow.h"
#include "ui/update/UpdateAdapter.h"

#include <QVariant>
#include <utility>

namespace fenlo {

/// All that exists only while the window does. The adapter outlives the QML that is bound to it.
struct UpdateWindow::Open {
    Open(AutoUpdater& updater, Appearance& appearance, std::function<void()> closed)
        : adapter(updater),
          window("Update/UpdateWindow.qml",
                 {{"appearance", QVariant::fromValue(&appearance)}, {"update", QVariant::fromValue(&adapter)}},
                 std::move(closed)) {}

    UpdateAdapter adapter;
    QmlWindow window;
};

UpdateWindow::UpdateWindow(AutoUpdater& updater, Appearance& appearance)
    : m_updater(updater), m_appearance(appearance) {}

UpdateWindow::~UpdateWindow() = default;

void UpdateWindow::show() {
    if (!m_open)
        m_open = std::make_unique<Open>(m_updater, m_appearance, [this] {
            m_open.reset();
            m_updater.later();
            QmlWindow::trimMemory();
        });
    m_open->window.toFront();
}

} // namespace fenlo
