#include "ui/TrayWatch.h"

#include "ui/X11Desktop.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

namespace fenlo {

namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

} // namespace

TrayWatch::TrayWatch(std::function<void(TrayHost)> onChange)
    : m_onChange(std::move(onChange)), m_trayEvent(x11::watchSystemTray()) {
    if (m_trayEvent != 0)
        QCoreApplication::instance()->installNativeEventFilter(this);
    auto bus = QDBusConnection::sessionBus();
    auto* watcher = new QDBusServiceWatcher(watcherService, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayWatch::notifierOwnerChanged);
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
        bus.connect(watcherService, watcherPath, watcherService, QString::fromLatin1(signal), this,
                    SLOT(askNotifierWatcher()));
    askNotifierWatcher();
}

TrayWatch::~TrayWatch() {
    QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool TrayWatch::nativeEventFilter(const QByteArray&, void* message, qintptr*) {
    constexpr unsigned char sentBit = 0x80;
    if ((*static_cast<const unsigned char*>(message) & ~sentBit) == m_trayEvent)
        QMetaObject::invokeMethod(this, &TrayWatch::update, Qt::QueuedConnection);
    return false;
}

void TrayWatch::notifierOwnerChanged(const QString&, const QString&, const QString& newOwner) {
    setHasNotifier(false); // a new owner does not know our icon yet
    if (!newOwner.isEmpty())
        askNotifierWatcher();
}

void TrayWatch::askNotifierWatcher() {
    auto question =
        QDBusMessage::createMethodCall(watcherService, watcherPath, "org.freedesktop.DBus.Properties", "Get");
    question << watcherService << QStringLiteral("IsStatusNotifierHostRegistered");
    question.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        answer->deleteLater();
        setHasNotifier(reply.isValid() && reply.value().variant().toBool());
    });
}

void TrayWatch::setHasNotifier(bool hasNotifier) {
    m_hasNotifier = hasNotifier;
    update();
}

void TrayWatch::update() {
    const TrayHost host = m_hasNotifier          ? TrayHost::notifier
                          : x11::hasSystemTray() ? TrayHost::embedding
                                                 : TrayHost::none;
    if (host == m_host && !m_isFirst)
        return;
    m_isFirst = false;
    m_host = host;
    m_onChange(host);
}

} // namespace fenlo
