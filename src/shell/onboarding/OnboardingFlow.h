#pragma once

#include "session/OnboardingStart.h"
#include "shell/onboarding/OnboardingState.h"

#include <functional>
#include <string>

namespace fenlo {

/// The screens in their order. Some steps have several.
enum class OnboardingScreen {
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

/// Leads through the screens of the first start, forward and back.
///
/// Threads: main thread only.
/// Lifetime: the flow may be destroyed in a call of the start's onFinish or onClose, which is its last.
class OnboardingFlow {
public:
    /// What the flow asks and tells; by default every screen is shown.
    struct Hooks {
        /// Whether a screen has anything to ask.
        std::function<bool(OnboardingScreen)> isWanted = [](OnboardingScreen) { return true; };
        std::function<void(OnboardingScreen)> onEnter = [](OnboardingScreen) {};
        /// Also told at the end, of the last screen. Going on means that its choices count.
        enum class Leaving { forward, back, closed };
        std::function<void(OnboardingScreen, Leaving)> onLeave = [](OnboardingScreen, Leaving) {};
    };

    OnboardingFlow(OnboardingState& state, OnboardingStart start);
    OnboardingFlow(const OnboardingFlow&) = delete;
    OnboardingFlow& operator=(const OnboardingFlow&) = delete;

    /// Enters the first screen. Call it once.
    void begin(Hooks hooks);
    OnboardingScreen screen() const { return m_screen; }

    /// To the next screen; after the last one the flow is finished, and the marker of the first start is written.
    void next();
    void back();
    bool canGoBack() const;

    /// Who signed in has nothing more to do where the first start was gone through before.
    void signedIn(const std::string& name, const std::string& email);
    void continueWithoutAccount();
    /// The window is closed before the end.
    void close();

private:
    using Leaving = Hooks::Leaving;

    void go(OnboardingScreen screen, Leaving leaving);
    void afterLogin();
    void finish();

    OnboardingState& m_state;
    const OnboardingStart m_start;
    Hooks m_hooks;
    OnboardingScreen m_first = OnboardingScreen::login;
    OnboardingScreen m_screen = OnboardingScreen::login;
    bool m_isOver = false;
};

} // namespace fenlo
