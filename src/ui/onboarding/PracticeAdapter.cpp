#include "ui/onboarding/PracticeAdapter.h"

namespace fenlo {

PracticeAdapter::PracticeAdapter(Practice& practice, OnboardingState& onboarding)
    : m_practice(practice), m_onboarding(onboarding), m_watch(onboarding.changes.watch([this] { Q_EMIT changed(); })) {}

void PracticeAdapter::toggle() {
    if (isKeyPressed())
        m_practice.keyUp();
    else
        m_practice.keyDown();
}

} // namespace fenlo
