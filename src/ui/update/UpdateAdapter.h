#pragma once

#include "account/AutoUpdater.h"
#include "account/UpdateWords.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// The updater for its window.
class UpdateAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    Q_PROPERTY(Stage stage READ stage NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString notes READ notes NOTIFY changed)
    Q_PROPERTY(QString fault READ fault NOTIFY changed)
    Q_PROPERTY(bool canInstall READ canInstall NOTIFY changed)
    Q_PROPERTY(bool hasInstaller READ hasInstaller NOTIFY changed)
    Q_PROPERTY(double progress READ progress NOTIFY changed) // 0 to 1

public:
    enum class Stage {
        Idle,
        Checking,
        UpToDate,
        Available,
        Downloading,
        Verifying,
        Verified,
        HandedOver,
        Failed,
    };
    Q_ENUM(Stage)

    explicit UpdateAdapter(AutoUpdater& updater);

    Stage stage() const { return static_cast<Stage>(m_updater.stage()); }
    QString title() const { return QString::fromStdString(m_words.title); }
    QString text() const { return QString::fromStdString(m_words.text); }
    QString notes() const { return QString::fromStdString(m_words.notes); }
    QString fault() const { return QString::fromStdString(m_updater.fault()); }
    bool canInstall() const { return m_updater.offer() && m_updater.offer()->package; }
    bool hasInstaller() const { return m_updater.wasOpened(); }
    double progress() const;

    Q_INVOKABLE void install() { m_updater.install(); }
    Q_INVOKABLE void openInstaller() { m_updater.openInstaller(); }
    Q_INVOKABLE void showInFolder() { m_updater.showInFolder(); }
    Q_INVOKABLE void tryAgain() { m_updater.tryAgain(); }
    Q_INVOKABLE void skip() { m_updater.skipThisVersion(); }

Q_SIGNALS:
    void changed();

private:
    void follow();

    AutoUpdater& m_updater;
    UpdateWords m_words;
    Changes::Watch m_watch;
};

} // namespace fenlo
