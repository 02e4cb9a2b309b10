#pragma once

#include "shell/onboarding/MicrophoneForm.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// MicrophoneForm for its screen.
class MicrophoneAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    Q_PROPERTY(QVariantList choices READ choices CONSTANT) // title, text
    Q_PROPERTY(QStringList reasons READ reasons CONSTANT)
    Q_PROPERTY(int chosen READ chosen NOTIFY changed)            // an index into the choices
    Q_PROPERTY(QVariantList devices READ devices NOTIFY changed) // value, label
    Q_PROPERTY(QString device READ device NOTIFY changed)        // a value of them
    Q_PROPERTY(QString inUse READ inUse NOTIFY changed)          // its name; empty without a microphone
    Q_PROPERTY(QString problem READ problem NOTIFY changed)
    Q_PROPERTY(double level READ level NOTIFY levelChanged)

public:
    explicit MicrophoneAdapter(MicrophoneForm& form);

    static QVariantList choices();
    static QStringList reasons();
    int chosen() const;
    QVariantList devices() const;
    QString device() const { return QString::fromStdString(m_form.devices.chosen()); }
    QString inUse() const { return QString::fromStdString(m_form.devices.inUse()); }
    QString problem() const { return QString::fromStdString(m_form.devices.note().text); }
    double level() const { return static_cast<double>(m_form.devices.level()); }

    Q_INVOKABLE void choose(int index);
    Q_INVOKABLE void chooseDevice(const QString& value) { m_form.devices.choose(value.toStdString()); }

Q_SIGNALS:
    void changed();
    void levelChanged();

private:
    MicrophoneForm& m_form;
    Changes::Watch m_modeWatch;
    Changes::Watch m_deviceWatch;
    Changes::Watch m_levelWatch;
};

} // namespace fenlo
