#include "ui/onboarding/OnboardingAdapter.h"

#include <QVariantMap>

namespace fenlo {

OnboardingAdapter::OnboardingAdapter(Onboarding& onboarding, HomeViewModel& settings, ServiceKeysModel& keys)
    : m_onboarding(onboarding), m_profession(onboarding.profession), m_checks(onboarding.checks),
      m_microphone(onboarding.microphone), m_offline(settings), m_keys(keys),
      m_practice(onboarding.practice, onboarding.state), m_watch(onboarding.state.changes.watch([this] { follow(); })),
      m_loginWatch(onboarding.login.watch([this] { Q_EMIT changed(); })) {
    static_assert(static_cast<int>(Screen::done) == static_cast<int>(OnboardingScreen::done));
    follow();
}

/// Each time that its screen is entered the reading is another one.
void OnboardingAdapter::follow() {
    if (VoiceReading* reading = m_onboarding.reading(); reading != m_shownReading) {
        m_shownReading = reading;
        m_reading = std::make_unique<VoiceReadingAdapter>(*reading);
    }
    Q_EMIT changed();
}

QVariantList OnboardingAdapter::features() const {
    QVariantList list;
    for (const auto& feature : m_onboarding.features())
        list << QVariantMap{{"title", QString::fromStdString(feature.title)},
                            {"text", QString::fromStdString(feature.text)}};
    return list;
}

} // namespace fenlo
