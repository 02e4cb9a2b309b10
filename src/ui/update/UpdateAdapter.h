#pragma once

#include "account/UpdateWords.h"
#include "base/Changes.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

class AutoUpdater;

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

    Stage stage() const;
    QString title() const { return QString::fromStdString(m_words.title); }
    QString text() const { return QString::fromStdString(m_words.text); }
    QString notes() const { return QString::fromStdString(m_words.notes); }
    QString fault() const;
    bool canInstall() const;
    bool hasInstaller() const;
    double progress() const;

    Q_INVOKABLE void install();
    Q_INVOKABLE void openInstaller();
    Q_INVOKABLE void showInFolder();
    Q_INVOKABLE void tryAgain();
    Q_INVOKABLE void skip();

Q_SIGNALS:
    void changed();

private:
    void follow();

    AutoUpdater& m_updater;
    UpdateWords m_words;
    Changes::Watch m_watch;
};

} // namespace fenlo
