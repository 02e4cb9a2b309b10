#pragma once

#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

class Config;

/// How the desktop wants windows to look: light or dark, still or moving, the font, the direction of reading. What the
/// user has set for this program goes before the desktop's word.
///
/// Threads: main thread. The desktop is asked without waiting; `changed` comes when it answers.
class Appearance final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to each window")
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
    Q_PROPERTY(bool still READ still NOTIFY changed)
    Q_PROPERTY(bool rightToLeft READ rightToLeft CONSTANT)
    Q_PROPERTY(double textSize READ textSize CONSTANT)
    Q_PROPERTY(QString family READ family CONSTANT)
    Q_PROPERTY(QString scheme READ scheme WRITE setScheme NOTIFY changed)

public:
    explicit Appearance(Config& config);

    bool dark() const;
    bool still() const { return m_reducesMotion || m_isStillInGnome || m_isStillInKde; }
    static bool rightToLeft();
    static double textSize(); // pixels
    static QString family();

    QString scheme() const; // the word of the setting
    void setScheme(const QString& word);

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void desktopSettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void askAll();
    void ask(const QString& group, const QString& key);
    void take(const QString& group, const QString& key, const QVariant& value);

    Config& m_config;
    unsigned m_desktopScheme = 0; // of the desktop's portal: 1 is dark, 2 is light, 0 no preference
    // A portal may answer for several desktops, with the defaults of those that do not run.
    bool m_reducesMotion = false;
    bool m_isStillInGnome = false;
    bool m_isStillInKde = false;
};

} // namespace fenlo
