#pragma once

#include "shell/home/HomeViewModel.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// The switch of offline mode, with its set-up.
///
/// Threads: main thread. The model outlives it.
class OfflineMode final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    Q_PROPERTY(bool isOn READ isOn WRITE setOn NOTIFY changed)
    Q_PROPERTY(bool isSettingUp READ isSettingUp NOTIFY changed)
    Q_PROPERTY(double progress READ progress NOTIFY changed)
    Q_PROPERTY(QString line READ line NOTIFY changed)
    Q_PROPERTY(QString fault READ fault NOTIFY changed)

public:
    explicit OfflineMode(HomeViewModel& model);

    bool isOn() const { return m_model.offlineMode; }
    void setOn(bool on) { m_model.setOfflineMode(on); }
    bool isSettingUp() const { return m_model.isSettingUpOffline; }
    double progress() const { return m_model.offlineSetupProgress; }
    QString line() const { return QString::fromStdString(m_model.offlineLine()); }
    QString fault() const { return QString::fromStdString(m_model.offlineFault()); }

    Q_INVOKABLE void cancel() { m_model.cancelOfflineSetup(); }

Q_SIGNALS:
    void changed();

private:
    HomeViewModel& m_model;
    Changes::Watch m_watch;
};

} // namespace fenlo
