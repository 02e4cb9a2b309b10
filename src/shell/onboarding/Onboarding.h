#pragma once

#include "shell/onboarding/FeatureList.h"
#include "shell/onboarding/LoginForm.h"
#include "shell/onboarding/MicrophoneForm.h"
#include "shell/onboarding/OnboardingFlow.h"
#include "shell/onboarding/Practice.h"
#include "shell/onboarding/ProfessionForm.h"
#include "shell/onboarding/SystemChecks.h"
#include "shell/onboarding/VoiceReading.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>

namespace fenlo {

/// What a first start works with. The services outlive it.
struct OnboardingServices {
    Practice::Services take;
    MenuBarController& menuBar;
    Practice::Steps steps;
    SystemChecks::Desktop desktop;
    SignIn signIn;
    std::filesystem::path voiceProfile;
    /// Tells the service how far a first start comes: "onboarding.welcome". Returns at once.
    std::function<void(const std::string& name)> sendEvent = [](const std::string&) {};
};

/// One walk through the first start: its course, and what each of its screens works on. The hotkey and the microphone
/// are in use on the screens that need them only.
///
/// Threads: main thread only.
class Onboarding {
public:
    Onboarding(const OnboardingServices& services, OnboardingStart start);
    ~Onboarding();
    Onboarding(const Onboarding&) = delete;
    Onboarding& operator=(const Onboarding&) = delete;

    /// Enters the first screen. Call it once.
    void begin();

    OnboardingState state;
    LoginForm login;
    ProfessionForm profession;
    SystemChecks checks;
    MicrophoneForm microphone;
    Practice practice;
    OnboardingFlow flow;

    std::string hotkey() const; // its label
    std::string sample() const; // a sentence to practise with, for the user's profession
    std::vector<Feature> features() const;

    /// Of the screen with the voice profile; null before it is entered. Another one each time.
    VoiceReading* reading() const { return m_reading.get(); }

private:
    bool isWanted(OnboardingScreen screen) const;
    void enter(OnboardingScreen screen);
    void tellReached(OnboardingScreen screen);
    void leave(OnboardingScreen screen, OnboardingFlow::Hooks::Leaving leaving);
    void beginReading();
    void endReading();

    const Practice::Services m_services;
    const std::filesystem::path m_voiceProfile;
    const std::function<void(const std::string&)> m_sendEvent;
    std::set<OnboardingScreen> m_reached;
    std::unique_ptr<VoiceReading> m_reading;
    Lifetime m_lifetime;
};

} // namespace fenlo
