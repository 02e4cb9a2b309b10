#pragma once

#include "shell/onboarding/Practice.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace fenlo {

/// Practice for its screen.
class PracticeAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    Q_PROPERTY(bool isProcessing READ isProcessing NOTIFY changed)
    Q_PROPERTY(bool hasSucceeded READ hasSucceeded NOTIFY changed)
    Q_PROPERTY(bool hasFailed READ hasFailed NOTIFY changed)
    Q_PROPERTY(bool isKeyPressed READ isKeyPressed NOTIFY changed)
    Q_PROPERTY(QString status READ status NOTIFY changed)
    Q_PROPERTY(QString reason READ reason NOTIFY changed)
    Q_PROPERTY(QString words READ words NOTIFY changed)
    Q_PROPERTY(double level READ level NOTIFY changed)

public:
    PracticeAdapter(Practice& practice, OnboardingState& onboarding);

    bool isProcessing() const { return m_onboarding.practiceState == PracticeState::processing; }
    bool hasSucceeded() const { return m_onboarding.practiceState == PracticeState::success; }
    bool hasFailed() const { return m_onboarding.practiceState == PracticeState::failed; }
    bool isKeyPressed() const { return m_onboarding.isKeyPressed; }
    QString status() const { return QString::fromStdString(m_practice.status()); }
    QString reason() const { return QString::fromStdString(m_practice.reason()); }
    QString words() const { return QString::fromStdString(m_onboarding.practiceText); }
    double level() const { return static_cast<double>(m_practice.level()); }

    /// Begins a hold, or ends it, for those who cannot hold a key.
    Q_INVOKABLE void toggle();

Q_SIGNALS:
    void changed();

private:
    Practice& m_practice;
    OnboardingState& m_onboarding;
    Changes::Watch m_watch;
};

} // namespace fenlo
