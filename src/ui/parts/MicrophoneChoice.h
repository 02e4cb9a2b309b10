#pragma once

#include "shell/home/MicrophoneModel.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>
#include <memory>

namespace fenlo {

/// The microphones and the level of the one in use.
///
/// Threads: main thread. The model outlives it.
class MicrophoneChoice final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    Q_PROPERTY(QVariantList options READ options NOTIFY changed)
    Q_PROPERTY(QString chosen READ chosen WRITE choose NOTIFY changed)
    Q_PROPERTY(bool prefersBuiltIn READ prefersBuiltIn WRITE preferBuiltIn NOTIFY changed)
    Q_PROPERTY(QString inUse READ inUse NOTIFY changed)
    Q_PROPERTY(QString note READ note NOTIFY changed)
    Q_PROPERTY(QString noteKind READ noteKind NOTIFY changed)
    Q_PROPERTY(double level READ level NOTIFY heard)

public:
    explicit MicrophoneChoice(MicrophoneModel& model);

    QVariantList options() const;
    QString chosen() const { return QString::fromStdString(m_model.chosen()); }
    void choose(const QString& key) { m_model.choose(key.toStdString()); }
    bool prefersBuiltIn() const { return m_model.prefersBuiltIn(); }
    void preferBuiltIn(bool prefers) { m_model.preferBuiltIn(prefers); }
    QString inUse() const { return QString::fromStdString(m_model.inUse()); }
    QString note() const;
    QString noteKind() const;
    double level() const { return static_cast<double>(m_model.level()); }

    /// The microphone is open until listen(false), or until this dies.
    Q_INVOKABLE void listen(bool on);

Q_SIGNALS:
    void changed();
    void heard();

private:
    MicrophoneModel& m_model;
    std::shared_ptr<void> m_listening;
    Changes::Watch m_watch;
    Changes::Watch m_levelWatch;
};

} // namespace fenlo
