#pragma once

#include "platform/StatusItem.h"

#include <QDBusObjectPath>
#include <QList>
#include <QObject>
#include <QString>
#include <functional>

namespace fenlo {

/// An icon on the wire: rows of 32-bit ARGB in network byte order.
struct NotifierImage {
    int width = 0, height = 0;
    QByteArray argb;
};
using NotifierImages = QList<NotifierImage>;

struct NotifierToolTip {
    QString iconName;
    NotifierImages icon;
    QString title, text;
};

/// The program's icon on the session bus, as org.kde.StatusNotifierItem, for the life of this object. Qt's own decides
/// with the first icon of the process for good, and never shows when the panel starts after the program.
class StatusNotifier : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconName READ none)
    Q_PROPERTY(fenlo::NotifierImages IconPixmap READ icon)
    Q_PROPERTY(QString OverlayIconName READ none)
    Q_PROPERTY(QString AttentionIconName READ none)
    Q_PROPERTY(fenlo::NotifierToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)

public:
    /// `busMenu` is the object that offers the menu on the bus. `onActivate` is called by panels that do not show that
    /// menu themselves.
    StatusNotifier(QObject& busMenu, IconFace face, std::function<void()> onActivate);
    ~StatusNotifier() override;

    void setFace(IconFace face);

    static QString category() { return QStringLiteral("ApplicationStatus"); }
    static QString id() { return QStringLiteral("fenlo"); }
    static QString title() { return QStringLiteral("Fenlo"); }
    static QString status() { return QStringLiteral("Active"); }
    static int windowId() { return 0; }
    static QString none() { return {}; }
    static NotifierToolTip toolTip() { return {{}, {}, title(), {}}; }
    static bool itemIsMenu() { return true; }
    static QDBusObjectPath menu();
    NotifierImages icon() const;

public Q_SLOTS:
    void Activate(int, int) const { m_onActivate(); }
    void ContextMenu(int, int) const { m_onActivate(); }
    void SecondaryActivate(int, int) const {}
    void Scroll(int, const QString&) const {}

Q_SIGNALS:
    void NewIcon();

private:
    IconFace m_face;
    std::function<void()> m_onActivate;
};

} // namespace fenlo
