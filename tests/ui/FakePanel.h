#pragma once

#include "ui/BusMenu.h"
#include "ui/StatusNotifier.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QStringList>
#include <optional>

namespace fenlo::test {

/// A panel that shows StatusNotifier items: the watcher they register with, and a host that reads them.
class FakePanel final : public QDBusVirtualObject {
    Q_OBJECT

public:
    FakePanel();
    ~FakePanel() override;

    /// A property of the item that registered last; waits for the answer.
    QVariant property(const QString& name);
    NotifierImage icon(); // the smallest
    BusMenuLayout menu();
    /// Chooses the line with this label; false when there is none.
    bool choose(const QString& label);
    bool isThere(const QString& service) const;

    QStringList registered; // the services of items
    int newIcons = 0;
    int newLayouts = 0;

private Q_SLOTS:
    void iconChanged() { ++newIcons; }
    void layoutChanged() { ++newLayouts; }

private:
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;
    QVariantList ask(const QString& path, const QString& interface, const QString& method,
                     const QVariantList& arguments);

    QDBusConnection m_bus;
};

} // namespace fenlo::test
