#include "ui/controls/Appearance.h"

#include "settings/Config.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QFontDatabase>
#include <QFontInfo>
#include <QGuiApplication>
#include <QPalette>

namespace fenlo {

namespace {

const QString portal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString portalSettings = QStringLiteral("org.freedesktop.portal.Settings");

const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString schemeKey = QStringLiteral("color-scheme");
const QString reducedMotionKey = QStringLiteral("reduced-motion");
const QString gnomeGroup = QStringLiteral("org.gnome.desktop.interface");
const QString gnomeAnimationsKey = QStringLiteral("enable-animations");
const QString kdeGroup = QStringLiteral("org.kde.kdeglobals.KDE");
const QString kdeAnimationsKey = QStringLiteral("AnimationDurationFactor");

constexpr int darkest = 128; // lightness of a window's ground below which a palette counts as dark

/// The portal wraps its answers in variants, in some versions more than once.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

bool isZero(const QString& number) {
    bool isNumber = false;
    return number.toDouble(&isNumber) == 0 && isNumber;
}

} // namespace

Appearance::Appearance(Config& config) : m_config(config) {
    // Qt looks the slot's types up by name, and nothing else has made this one known by now.
    qRegisterMetaType<QDBusVariant>();
    QDBusConnection::sessionBus().connect(portal, portalPath, portalSettings, QStringLiteral("SettingChanged"), this,
                                          SLOT(desktopSettingChanged(QString, QString, QDBusVariant)));
    // At login the portal may start after this program.
    auto* coming =
        new QDBusServiceWatcher(portal, QDBusConnection::sessionBus(), QDBusServiceWatcher::WatchForRegistration, this);
    connect(coming, &QDBusServiceWatcher::serviceRegistered, this, [this] { askAll(); });
    askAll();
}

bool Appearance::dark() const {
    switch (m_config.get().colourScheme) {
    case ColourScheme::light:
        return false;
    case ColourScheme::dark:
        return true;
    default:
        break;
    }
    if (m_desktopScheme != 0)
        return m_desktopScheme == 1;
    return QGuiApplication::palette().color(QPalette::Window).lightness() < darkest;
}

bool Appearance::rightToLeft() {
    return QGuiApplication::layoutDirection() == Qt::RightToLeft;
}

double Appearance::textSize() {
    return QFontInfo(QFontDatabase::systemFont(QFontDatabase::GeneralFont)).pixelSize();
}

QString Appearance::family() {
    const QString house = QStringLiteral("Inter");
    return QFontDatabase::hasFamily(house) ? house : QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
}

QString Appearance::scheme() const {
    return QString::fromStdString(m_config.get().colourScheme.word());
}

void Appearance::setScheme(const QString& word) {
    m_config.update([&](Settings& settings) { settings.colourScheme = Choice<ColourScheme>(word.toStdString()); });
    Q_EMIT changed();
}

void Appearance::askAll() {
    ask(appearanceGroup, schemeKey);
    ask(appearanceGroup, reducedMotionKey);
    ask(gnomeGroup, gnomeAnimationsKey);
    ask(kdeGroup, kdeAnimationsKey);
}

void Appearance::ask(const QString& group, const QString& key) {
    auto question = QDBusMessage::createMethodCall(portal, portalPath, portalSettings, QStringLiteral("Read"));
    question << group << key;
    auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, group, key] {
        if (const QDBusPendingReply<QDBusVariant> reply = *answer; !reply.isError())
            take(group, key, reply.value().variant());
        answer->deleteLater();
    });
}

void Appearance::desktopSettingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    take(group, key, value.variant());
}

void Appearance::take(const QString& group, const QString& key, const QVariant& wrapped) {
    const QVariant value = unwrapped(wrapped);
    if (group == appearanceGroup && key == schemeKey)
        m_desktopScheme = value.toUInt();
    else if (group == appearanceGroup && key == reducedMotionKey)
        m_reducesMotion = value.toUInt() == 1;
    else if (group == gnomeGroup && key == gnomeAnimationsKey)
        m_isStillInGnome = !value.toBool();
    else if (group == kdeGroup && key == kdeAnimationsKey)
        m_isStillInKde = isZero(value.toString());
    else
        return;
    Q_EMIT changed();
}

} // namespace fenlo
