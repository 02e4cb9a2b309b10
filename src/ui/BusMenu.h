#pragma once

#include "platform/StatusItem.h"

#include <QDBusVariant>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <vector>

namespace fenlo {

// The structures of the interface on the wire.
struct BusMenuLayout {
    int id = 0;
    QVariantMap properties;
    QList<BusMenuLayout> children;
};
struct BusMenuItem {
    int id = 0;
    QVariantMap properties;
};
struct BusMenuEvent {
    int id = 0;
    QString name;
    QDBusVariant data;
    uint timestamp = 0;
};

/// Offers a menu on the session bus, as com.canonical.dbusmenu; panels fetch it from there and draw it themselves.
///
/// Each menu has new ids, so that a choice from a menu that was replaced meanwhile does nothing.
class BusMenu : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

public:
    BusMenu();

    void setItems(std::vector<MenuItem> items);

    static uint version() { return 3; }
    static QString textDirection() { return QStringLiteral("ltr"); }
    static QString status() { return QStringLiteral("normal"); }
    static QStringList iconThemePath() { return {}; }

public Q_SLOTS:
    uint GetLayout(int parentId, int depth, const QStringList& propertyNames, fenlo::BusMenuLayout& layout) const;
    QList<fenlo::BusMenuItem> GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames) const;
    QDBusVariant GetProperty(int id, const QString& name) const;
    void Event(int id, const QString& name, const QDBusVariant& data, uint timestamp);
    QList<int> EventGroup(const QList<fenlo::BusMenuEvent>& events);
    bool AboutToShow(int id) const;
    QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& unknownIds) const;

Q_SIGNALS:
    void LayoutUpdated(uint revision, int parentId);

private:
    /// Null for the menu itself and for ids of earlier menus.
    const MenuItem* find(int id) const;
    QVariantMap properties(int id) const;

    std::vector<MenuItem> m_items;
    int m_firstId = 1; // of the first item; the menu itself is 0
    uint m_revision = 1;
};

} // namespace fenlo
