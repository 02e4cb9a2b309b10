#include "shell/onboarding/OnboardingState.h"

namespace fenlo {

double OnboardingState::progress() const {
    constexpr double perStep = 0.125;
    if (step < onboardingStep::permissions)
        return 0;
    return step == totalSteps - 1 ? 1 : (step - onboardingStep::profession) * perStep;
}

} // namespace fenlo
