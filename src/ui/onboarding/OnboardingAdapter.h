#pragma once

#include "shell/onboarding/Onboarding.h"
#include "ui/onboarding/MicrophoneAdapter.h"
#include "ui/onboarding/PracticeAdapter.h"
#include "ui/onboarding/ProfessionAdapter.h"
#include "ui/onboarding/SystemChecksAdapter.h"
#include "ui/onboarding/VoiceReadingAdapter.h"
#include "ui/parts/OfflineMode.h"
#include "ui/parts/ServiceKeyList.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>
#include <memory>

namespace fenlo {

/// Onboarding for its window, with the adapters of its screens.
class OnboardingAdapter final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("given to the window")
    Q_PROPERTY(Screen screen READ screen NOTIFY changed)
    Q_PROPERTY(bool voiceProfileOnly READ voiceProfileOnly CONSTANT)
    Q_PROPERTY(double progress READ progress NOTIFY changed)
    Q_PROPERTY(bool canGoBack READ canGoBack NOTIFY changed)
    Q_PROPERTY(QString hotkey READ hotkey NOTIFY changed)          // its label
    Q_PROPERTY(QString sample READ sample NOTIFY changed)          // a sentence to try
    Q_PROPERTY(QVariantList features READ features NOTIFY changed) // title, text
    Q_PROPERTY(bool offersGoogle READ offersGoogle CONSTANT)
    Q_PROPERTY(bool offersApple READ offersApple CONSTANT)
    Q_PROPERTY(QString waitingText READ waitingText NOTIFY changed) // during a sign-in
    Q_PROPERTY(QString browserText READ browserText NOTIFY changed) // where no browser opened
    Q_PROPERTY(QString loginError READ loginError NOTIFY changed)
    Q_PROPERTY(fenlo::ProfessionAdapter* profession READ profession CONSTANT)
    Q_PROPERTY(fenlo::SystemChecksAdapter* checks READ checks CONSTANT)
    Q_PROPERTY(fenlo::MicrophoneAdapter* microphone READ microphone CONSTANT)
    Q_PROPERTY(fenlo::OfflineMode* offline READ offline CONSTANT)
    Q_PROPERTY(fenlo::ServiceKeyList* keys READ keys CONSTANT)
    Q_PROPERTY(fenlo::PracticeAdapter* practice READ practice CONSTANT)
    Q_PROPERTY(fenlo::VoiceReadingAdapter* reading READ reading NOTIFY changed) // on its screen only

public:
    enum class Screen {
        login,
        welcome,
        profession,
        professionDetails,
        twoModes,
        permissions,
        micMode,
        recogniser,
        practice,
        voiceProfile,
        features,
        email,
        done,
    };
    Q_ENUM(Screen)

    OnboardingAdapter(Onboarding& onboarding, HomeViewModel& settings, ServiceKeysModel& keys);

    Screen screen() const { return static_cast<Screen>(m_onboarding.flow.screen()); }
    bool voiceProfileOnly() const { return m_onboarding.state.voiceProfileOnly; }
    double progress() const { return m_onboarding.state.progress(); }
    bool canGoBack() const { return m_onboarding.flow.canGoBack(); }
    QString hotkey() const { return QString::fromStdString(m_onboarding.hotkey()); }
    QString sample() const { return QString::fromStdString(m_onboarding.sample()); }
    QVariantList features() const;
    bool offersGoogle() const { return m_onboarding.login.isOffered(SignInProvider::google); }
    bool offersApple() const { return m_onboarding.login.isOffered(SignInProvider::apple); }
    QString waitingText() const { return QString::fromStdString(m_onboarding.login.waitingText()); }
    QString browserText() const { return QString::fromStdString(m_onboarding.login.browserText()); }
    QString loginError() const { return QString::fromStdString(m_onboarding.login.error()); }
    ProfessionAdapter* profession() { return &m_profession; }
    SystemChecksAdapter* checks() { return &m_checks; }
    MicrophoneAdapter* microphone() { return &m_microphone; }
    OfflineMode* offline() { return &m_offline; }
    ServiceKeyList* keys() { return &m_keys; }
    PracticeAdapter* practice() { return &m_practice; }
    VoiceReadingAdapter* reading() const { return m_reading.get(); }

    Q_INVOKABLE void next() { m_onboarding.flow.next(); }
    Q_INVOKABLE void back() { m_onboarding.flow.back(); }
    Q_INVOKABLE void signInWithGoogle() { m_onboarding.login.begin(SignInProvider::google); }
    Q_INVOKABLE void signInWithApple() { m_onboarding.login.begin(SignInProvider::apple); }
    Q_INVOKABLE void cancelSignIn() { m_onboarding.login.cancel(); }
    Q_INVOKABLE void copySignInAddress() { m_onboarding.login.copyAddress(); }
    Q_INVOKABLE void continueWithoutAccount() { m_onboarding.flow.continueWithoutAccount(); }
    Q_INVOKABLE bool isEmail(const QString& text) const { return LoginForm::isEmail(text.toStdString()); }
    Q_INVOKABLE void giveEmail(const QString& text) { m_onboarding.login.giveEmail(text.toStdString()); }

Q_SIGNALS:
    void changed();

private:
    void follow();

    Onboarding& m_onboarding;
    ProfessionAdapter m_profession;
    SystemChecksAdapter m_checks;
    MicrophoneAdapter m_microphone;
    OfflineMode m_offline;
    ServiceKeyList m_keys;
    PracticeAdapter m_practice;
    const VoiceReading* m_shownReading = nullptr;
    std::unique_ptr<VoiceReadingAdapter> m_reading;
    Changes::Watch m_watch;
    Changes::Watch m_loginWatch;
};

} // namespace fenlo
