#include "shell/onboarding/OnboardingFlow.h"

#include "session/OnboardingMarks.h"

#include <algorithm>
#include <array>
#include <utility>

namespace fenlo {

namespace {

/// The step that each screen belongs to, in the order of OnboardingScreen.
constexpr auto stepOfScreen = std::to_array<int>({
    onboardingStep::login,
    onboardingStep::welcome,
    onboardingStep::profession,
    onboardingStep::profession,
    onboardingStep::profession,
    onboardingStep::permissions,
    onboardingStep::micMode,
    onboardingStep::micMode,
    onboardingStep::practice,
    onboardingStep::voiceProfile,
    onboardingStep::features,
    onboardingStep::emailCollection,
    onboardingStep::done,
});
static_assert(stepOfScreen.size() == static_cast<std::size_t>(OnboardingScreen::done) + 1);

constexpr OnboardingScreen moved(OnboardingScreen screen, int by) {
    return static_cast<OnboardingScreen>(static_cast<int>(screen) + by);
}

OnboardingScreen firstOf(const OnboardingStart& start) {
    if (start.voiceProfileOnly)
        return OnboardingScreen::voiceProfile;
    const int step =
        std::clamp(start.skipLogin ? std::max(start.initialStep, onboardingStep::welcome) : start.initialStep,
                   onboardingStep::login, onboardingStep::done);
    return static_cast<OnboardingScreen>(std::ranges::find(stepOfScreen, step) - stepOfScreen.begin());
}

} // namespace

OnboardingFlow::OnboardingFlow(OnboardingState& state, OnboardingStart start)
    : m_state(state), m_start(std::move(start)), m_first(firstOf(m_start)), m_screen(m_first) {
    m_state.voiceProfileOnly = m_start.voiceProfileOnly;
    m_state.skipLogin = m_start.skipLogin;
    m_state.onFinish = m_start.onFinish;
    m_state.onLogin = m_start.onLogin;
    m_state.step = stepOfScreen[static_cast<std::size_t>(m_screen)];
}

void OnboardingFlow::begin(Hooks hooks) {
    m_hooks = std::move(hooks);
    m_hooks.onEnter(m_screen);
    m_state.changes.tell();
}

void OnboardingFlow::next() {
    if (m_isOver)
        return;
    if (m_start.voiceProfileOnly || m_screen == OnboardingScreen::done) {
        finish();
        return;
    }
    OnboardingScreen wanted = moved(m_screen, 1);
    while (wanted != OnboardingScreen::done && !m_hooks.isWanted(wanted))
        wanted = moved(wanted, 1);
    go(wanted, Leaving::forward);
}

void OnboardingFlow::back() {
    if (m_isOver || !canGoBack())
        return;
    OnboardingScreen wanted = moved(m_screen, -1);
    while (wanted > OnboardingScreen::welcome && !m_hooks.isWanted(wanted))
        wanted = moved(wanted, -1);
    go(wanted, Leaving::back);
}

/// Nobody goes back to before the login.
bool OnboardingFlow::canGoBack() const {
    return !m_start.voiceProfileOnly && m_screen > std::max(m_first, OnboardingScreen::welcome);
}

void OnboardingFlow::signedIn(const std::string& name, const std::string& email) {
    if (m_isOver)
        return;
    OnboardingMarks::setWithoutAccount(false);
    m_state.onLogin(name, email);
    afterLogin();
}

void OnboardingFlow::continueWithoutAccount() {
    if (m_isOver)
        return;
    OnboardingMarks::setWithoutAccount(true);
    afterLogin();
}

void OnboardingFlow::afterLogin() {
    if (OnboardingMarks::isOnboarded())
        finish();
    else
        go(OnboardingScreen::welcome, Leaving::forward);
}

void OnboardingFlow::close() {
    if (std::exchange(m_isOver, true))
        return;
    m_hooks.onLeave(m_screen, Leaving::closed);
    const auto onClose = m_start.onClose;
    onClose();
}

void OnboardingFlow::finish() {
    m_isOver = true;
    m_hooks.onLeave(m_screen, Leaving::forward);
    // Where it cannot be written, the log says so and the next start begins anew.
    if (m_screen == OnboardingScreen::done)
        OnboardingMarks::setOnboarded();
    const auto onFinish = m_state.onFinish;
    onFinish();
}

void OnboardingFlow::go(OnboardingScreen screen, Leaving leaving) {
    m_hooks.onLeave(m_screen, leaving);
    m_screen = screen;
    m_state.step = stepOfScreen[static_cast<std::size_t>(screen)];
    m_hooks.onEnter(screen);
    m_state.changes.tell();
}

} // namespace fenlo
