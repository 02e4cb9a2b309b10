#include "shell/onboarding/Onboarding.h"

#include "session/HotkeyListener.h"
#include "settings/Config.h"
#include "text/professions/Professions.h"

#include <utility>

namespace fenlo {

namespace {

/// Null for screens that the service does not know.
const char* eventOf(OnboardingScreen screen) {
    switch (screen) {
    case OnboardingScreen::login:
        return "onboarding.login";
    case OnboardingScreen::welcome:
        return "onboarding.welcome";
    case OnboardingScreen::profession:
        return "onboarding.profession";
    case OnboardingScreen::permissions:
        return "onboarding.permissions";
    case OnboardingScreen::practice:
        return "onboarding.practice";
    case OnboardingScreen::voiceProfile:
        return "onboarding.voice_profile";
    case OnboardingScreen::features:
        return "onboarding.features";
    case OnboardingScreen::email:
        return "onboarding.email_collection";
    case OnboardingScreen::done:
        return "onboarding.done";
    case OnboardingScreen::professionDetails:
    case OnboardingScreen::twoModes:
    case OnboardingScreen::micMode:
    case OnboardingScreen::recogniser:
        break;
    }
    return nullptr;
}

} // namespace

Onboarding::Onboarding(const OnboardingServices& services, OnboardingStart start)
    : login(services.signIn, services.desktop.copy), profession(services.take.recording.config),
      checks(services.desktop, services.take.recording.queue, services.take.recording.background),
      microphone({services.take.recording.input, services.take.recording.config, services.take.recording.notifications,
                  services.take.recording.queue, [] { return std::nullopt; }},
                 services.menuBar),
      practice(services.take, services.steps, state), flow(state, std::move(start)), m_services(services.take),
      m_voiceProfile(services.voiceProfile), m_sendEvent(services.sendEvent) {
    login.onSignedIn = [this](const std::string& name, const std::string& email) { flow.signedIn(name, email); };
}

Onboarding::~Onboarding() = default;

void Onboarding::begin() {
    flow.begin({.isWanted = [this](OnboardingScreen screen) { return isWanted(screen); },
                .onEnter = [this](OnboardingScreen screen) { enter(screen); },
                .onLeave = [this](OnboardingScreen screen, auto leaving) { leave(screen, leaving); }});
}

std::string Onboarding::hotkey() const {
    return heldLabel(m_services.keys, m_services.recording.config.get().hotkey);
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

/// Once for each step: who goes back and on again has reached nothing new. A voice profile from the settings is no
/// step.
void Onboarding::tellReached(OnboardingScreen screen) {
    if (const char* event = eventOf(screen); event && !state.voiceProfileOnly && m_reached.insert(screen).second)
        m_sendEvent(event);
}

void Onboarding::enter(OnboardingScreen screen) {
    tellReached(screen);
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
    case OnboardingScreen::login:
        login.cancel(); // by who goes on without an account
        break;
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
