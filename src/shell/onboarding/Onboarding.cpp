#include "shell/onboarding/Onboarding.h"

#include "session/HotkeyListener.h"
#include "settings/Config.h"
#include "text/professions/Professions.h"

#include <utility>

namespace fenlo {

Onboarding::Onboarding(const OnboardingServices& services, OnboardingStart start)
    : login(services.signIn), profession(services.take.recording.config),
      checks(services.desktop, services.take.recording.queue, services.take.recording.background),
      microphone({services.take.recording.input, services.take.recording.config, services.take.recording.notifications,
                  services.take.recording.queue, [] { return std::nullopt; }},
                 services.menuBar),
      practice(services.take, services.steps, state), flow(state, std::move(start)), m_services(services.take),
      m_voiceProfile(services.voiceProfile) {
    login.onSignedIn = [this](const std::string& name, const std::string& email) { flow.signedIn(name, email); };
}

Onboarding::~Onboarding() = default;

void Onboarding::begin() {
    flow.begin({.isWanted = [this](OnboardingScreen screen) { return isWanted(screen); },
                .onEnter = [this](OnboardingScreen screen) { enter(screen); },
                .onLeave = [this](OnboardingScreen screen, auto leaving) { leave(screen, leaving); }});
}

std::string Onboarding::hotkey() const {
    return hotkeyLabel(m_services.recording.config.get().hotkey);
}

std::string Onboarding::sample() const {
    return std::string(profile(m_services.recording.config.get().profession).sample);
}

std::vector<Feature> Onboarding::features() const {
    return featureList(m_services.recording.config.get().profession, hotkey());
}

bool Onboarding::isWanted(OnboardingScreen screen) const {
    switch (screen) {
    case OnboardingScreen::professionDetails:
        return profession.isChosen();
    case OnboardingScreen::email:
        return login.lacksEmail();
    default:
        return true;
    }
}

void Onboarding::enter(OnboardingScreen screen) {
    switch (screen) {
    case OnboardingScreen::permissions:
        checks.begin();
        break;
    case OnboardingScreen::micMode:
        microphone.begin();
        break;
    case OnboardingScreen::practice:
        practice.begin();
        break;
    case OnboardingScreen::voiceProfile:
        beginReading();
        break;
    default:
        break;
    }
}

void Onboarding::leave(OnboardingScreen screen, OnboardingFlow::Hooks::Leaving leaving) {
    switch (screen) {
    case OnboardingScreen::profession:
    case OnboardingScreen::professionDetails:
    case OnboardingScreen::twoModes:
        if (leaving == OnboardingFlow::Hooks::Leaving::forward)
            profession.store();
        break;
    case OnboardingScreen::permissions:
        checks.end();
        break;
    case OnboardingScreen::micMode:
        microphone.end();
        break;
    case OnboardingScreen::practice:
        practice.end();
        break;
    case OnboardingScreen::voiceProfile:
        endReading();
        break;
    default:
        break;
    }
}

void Onboarding::beginReading() {
    const auto stage = state.voiceProfileOnly ? VoiceReading::Stage::running : VoiceReading::Stage::firstStart;
    m_reading = std::make_unique<VoiceReading>(VoiceReading::Services{m_services.recording, m_services.keys},
                                               m_voiceProfile, stage);
    m_reading->onFinished = [this](bool) { flow.next(); };
}

/// Lets go of the hotkey. The reading itself stays: its screen, which goes soon, still shows it.
void Onboarding::endReading() {
    m_reading->onFinished = {};
    m_reading->skip();
    m_reading->letGoOfKey(); // also while a profile is being built, which goes on
}

} // namespace fenlo
