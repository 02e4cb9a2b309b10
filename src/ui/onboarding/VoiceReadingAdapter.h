#pragma once

#include "shell/onboarding/VoiceReading.h"

#include <QColor>
#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// VoiceReading for its screen.
class VoiceReadingAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    Q_PROPERTY(QStringList passage READ passage CONSTANT)
    Q_PROPERTY(QString wholePassage READ wholePassage CONSTANT)
    Q_PROPERTY(QString keyLabel READ keyLabel CONSTANT)
    Q_PROPERTY(int line READ line NOTIFY changed)
    Q_PROPERTY(double progress READ progress NOTIFY changed)
    Q_PROPERTY(double level READ level NOTIFY changed)
    Q_PROPERTY(QString status READ status NOTIFY changed)
    Q_PROPERTY(QColor tint READ tint NOTIFY changed)
    Q_PROPERTY(QString reason READ reason NOTIFY changed)
    Q_PROPERTY(bool isReading READ isReading NOTIFY changed)
    Q_PROPERTY(bool isBuilding READ isBuilding NOTIFY changed)
    Q_PROPERTY(bool canSkip READ canSkip NOTIFY changed)

public:
    explicit VoiceReadingAdapter(VoiceReading& reading);

    static QStringList passage();
    static QString wholePassage() { return passage().join(QLatin1Char(' ')); }
    QString keyLabel() const;
    int line() const { return static_cast<int>(m_reading.line()); }
    double progress() const { return m_reading.progress(); }
    double level() const { return static_cast<double>(m_reading.level()); }
    QString status() const;
    QColor tint() const; // transparent: the usual colour
    QString reason() const;
    bool isReading() const { return m_reading.state() == VoiceReading::State::reading; }
    bool isBuilding() const { return m_reading.state() == VoiceReading::State::building; }
    bool canSkip() const { return m_reading.canSkip(); }

    /// Begins a hold, or ends it, for those who cannot hold a key.
    Q_INVOKABLE void toggle();
    Q_INVOKABLE void skip() { m_reading.skip(); }

Q_SIGNALS:
    void changed();

private:
    VoiceReading& m_reading;
    Changes::Watch m_watch;
};

} // namespace fenlo
