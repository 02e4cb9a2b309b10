#include "ui/FakePanel.h"

#include "ui/Application.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>

namespace fenlo {

// The readers of the wire format, which belong to the interface under test.
const QDBusArgument& operator>>(const QDBusArgument& in, BusMenuLayout& layout);
const QDBusArgument& operator>>(const QDBusArgument& in, NotifierImage& image);

namespace test {

namespace {

const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString connectionName = QStringLiteral("panel");
const QString itemPath = QStringLiteral("/StatusNotifierItem");
const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const QString menuInterface = QStringLiteral("com.canonical.dbusmenu");

} // namespace

FakePanel::FakePanel() : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName)) {
    m_bus.registerVirtualObject(QStringLiteral("/StatusNotifierWatcher"), this);
    m_bus.registerService(watcher);
}

FakePanel::~FakePanel() {
    QDBusConnection::disconnectFromBus(connectionName);
}

bool FakePanel::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.member() == QLatin1String("RegisterStatusNotifierItem")) {
        const QString service = message.arguments().value(0).toString();
        registered.append(service);
        m_bus.connect(service, itemPath, itemInterface, QStringLiteral("NewIcon"), this, SLOT(iconChanged()));
        m_bus.connect(service, QString(), menuInterface, QStringLiteral("LayoutUpdated"), this, SLOT(layoutChanged()));
        return connection.send(message.createReply());
    }
    if (message.member() == QLatin1String("Get"))
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(true))));
    return false;
}

QVariantList FakePanel::ask(const QString& path, const QString& interface, const QString& method,
                            const QVariantList& arguments) {
    auto question = QDBusMessage::createMethodCall(registered.last(), path, interface, method);
    question.setArguments(arguments);
    const QDBusPendingCall call = m_bus.asyncCall(question); // the item answers on this very thread
    pumpUntil([&] { return call.isFinished(); });
    return call.reply().arguments();
}

QVariant FakePanel::property(const QString& name) {
    return ask(itemPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
               {itemInterface, name})
        .value(0)
        .value<QDBusVariant>()
        .variant();
}

NotifierImage FakePanel::icon() {
    return qdbus_cast<NotifierImages>(property(QStringLiteral("IconPixmap"))).value(0);
}

BusMenuLayout FakePanel::menu() {
    const QString path = property(QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    return qdbus_cast<BusMenuLayout>(
        ask(path, menuInterface, QStringLiteral("GetLayout"), {0, -1, QStringList()}).value(1));
}

bool FakePanel::choose(const QString& label) {
    const QString path = property(QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    for (const BusMenuLayout& item : menu().children) {
        if (item.properties[QStringLiteral("label")] != label)
            continue;
        ask(path, menuInterface, QStringLiteral("Event"),
            {item.id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(0)), 0u});
        return true;
    }
    return false;
}

bool FakePanel::isThere(const QString& service) const {
    return m_bus.interface()->isServiceRegistered(service);
}

} // namespace test

} // namespace fenlo
