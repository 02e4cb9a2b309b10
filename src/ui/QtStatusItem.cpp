#include "ui/QtStatusItem.h"

#include "base/Log.h"
#include "ui/BusMenu.h"
#include "ui/GuardedCall.h"
#include "ui/StatusIcon.h"
#include "ui/StatusNotifier.h"
#include "ui/TrayWatch.h"

#include <QCursor>
#include <QMenu>
#include <QSystemTrayIcon>

namespace fenlo {

namespace {

/// An open menu may be replaced by the action that was chosen in it, or by itself while the user looks at it.
struct DropMenu {
    void operator()(QMenu* menu) const {
        if (menu->isVisible())
            QObject::connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
        else
            menu->deleteLater();
    }
};
using MenuPointer = std::unique_ptr<QMenu, DropMenu>;

MenuPointer menuOf(const std::vector<MenuItem>& items) {
    MenuPointer menu(new QMenu);
    for (const MenuItem& item : items) {
        if (item.isSeparator) {
            menu->addSeparator();
            continue;
        }
        // An ampersand would make the next letter an access key.
        QAction* const line = menu->addAction(QString::fromStdString(item.title).replace('&', "&&"));
        line->setEnabled(static_cast<bool>(item.action));
        QObject::connect(line, &QAction::triggered, line, [action = item.action] { callGuarded(action); });
    }
    return menu;
}

} // namespace

class QtStatusItem::Private {
public:
    Private() : m_watch([this](TrayHost host) { useHost(host); }) {}

    void setFace(IconFace face) {
        m_face = face;
        if (m_notifier)
            m_notifier->setFace(face);
        if (m_embedded)
            m_embedded->setIcon(statusIcon(face));
    }

    void setMenu(std::vector<MenuItem> items) {
        m_items = items;
        if (m_menu)
            makeMenu();
        m_busMenu.setItems(std::move(items));
    }

    bool isShown() const { return m_notifier || m_embedded; }

private:
    /// Fonts and a style are loaded for it, which the icon of most panels never needs.
    void makeMenu() {
        MenuPointer menu = menuOf(m_items);
        if (m_embedded)
            m_embedded->setContextMenu(menu.get());
        m_menu = std::move(menu);
    }

    void useHost(TrayHost host) {
        m_notifier.reset();
        m_embedded.reset();
        if (host == TrayHost::notifier)
            m_notifier = std::make_unique<StatusNotifier>(m_busMenu, m_face, [this] { popUp(); });
        else if (host == TrayHost::embedding)
            embed();
        else if (!m_toldMissing) {
            m_toldMissing = true;
            logInfo("No system tray yet: the icon appears as soon as a panel has room for it");
        }
    }

    void embed() {
        m_embedded = std::make_unique<QSystemTrayIcon>(statusIcon(m_face));
        m_embedded->setToolTip(QStringLiteral("Fenlo"));
        makeMenu();
        QObject::connect(m_embedded.get(), &QSystemTrayIcon::activated, m_embedded.get(),
                         [this](QSystemTrayIcon::ActivationReason reason) {
                             if (reason == QSystemTrayIcon::Trigger)
                                 popUp();
                         });
        m_embedded->show();
    }

    void popUp() {
        if (!m_menu)
            makeMenu();
        m_menu->popup(QCursor::pos());
    }

    IconFace m_face = IconFace::idle;
    std::vector<MenuItem> m_items;
    MenuPointer m_menu; // of the items, once it was needed
    BusMenu m_busMenu;
    std::unique_ptr<StatusNotifier> m_notifier;  // one of these two, while there is a panel
    std::unique_ptr<QSystemTrayIcon> m_embedded; // uses the menu, so it is destroyed first
    bool m_toldMissing = false;
    TrayWatch m_watch;
};

QtStatusItem::QtStatusItem() : m_private(std::make_unique<Private>()) {}

QtStatusItem::~QtStatusItem() = default;

void QtStatusItem::setFace(IconFace face) {
    m_private->setFace(face);
}

void QtStatusItem::setMenu(std::vector<MenuItem> items) {
    m_private->setMenu(std::move(items));
}

bool QtStatusItem::isShown() const {
    return m_private->isShown();
}

} // namespace fenlo
