#include "ui/StatusNotifier.h"

#include "ui/BusStructure.h"
#include "ui/StatusIcon.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QtEndian>

namespace fenlo {

namespace {

const QString itemPath = QStringLiteral("/StatusNotifierItem");
const QString menuPath = QStringLiteral("/MenuBar");

QString serviceName() {
    return QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid());
}

NotifierImage onTheWire(const QImage& image) {
    NotifierImage result{image.width(), image.height(), {}};
    result.argb.reserve(static_cast<qsizetype>(image.width()) * image.height() * 4);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = qToBigEndian(image.pixel(x, y));
            result.argb.append(reinterpret_cast<const char*>(&pixel), sizeof pixel);
        }
    return result;
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& out, const NotifierImage& image) {
    return writeStructure(out, image.width, image.height, image.argb);
}

const QDBusArgument& operator>>(const QDBusArgument& in, NotifierImage& image) {
    return readStructure(in, image.width, image.height, image.argb);
}

QDBusArgument& operator<<(QDBusArgument& out, const NotifierToolTip& tip) {
    return writeStructure(out, tip.iconName, tip.icon, tip.title, tip.text);
}

const QDBusArgument& operator>>(const QDBusArgument& in, NotifierToolTip& tip) {
    return readStructure(in, tip.iconName, tip.icon, tip.title, tip.text);
}

StatusNotifier::StatusNotifier(QObject& busMenu, IconFace face, std::function<void()> onActivate)
    : m_face(face), m_onActivate(std::move(onActivate)) {
    qDBusRegisterMetaType<NotifierImage>();
    qDBusRegisterMetaType<NotifierImages>();
    qDBusRegisterMetaType<NotifierToolTip>();
    auto bus = QDBusConnection::sessionBus();
    bus.registerObject(menuPath, &busMenu,
                       QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                           QDBusConnection::ExportAllProperties);
    bus.registerObject(itemPath, this,
                       QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                           QDBusConnection::ExportAllProperties);
    bus.registerService(serviceName());
    auto registration = QDBusMessage::createMethodCall("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                                                       "org.kde.StatusNotifierWatcher", "RegisterStatusNotifierItem");
    registration << serviceName();
    bus.send(registration);
}

StatusNotifier::~StatusNotifier() {
    auto bus = QDBusConnection::sessionBus();
    bus.unregisterService(serviceName());
    bus.unregisterObject(itemPath);
    bus.unregisterObject(menuPath);
}

void StatusNotifier::setFace(IconFace face) {
    if (face == m_face)
        return;
    m_face = face;
    Q_EMIT NewIcon();
}

QDBusObjectPath StatusNotifier::menu() {
    return QDBusObjectPath(menuPath);
}

NotifierImages StatusNotifier::icon() const {
    NotifierImages images;
    for (const QImage& image : statusImages(m_face))
        images.append(onTheWire(image));
    return images;
}

} // namespace fenlo
