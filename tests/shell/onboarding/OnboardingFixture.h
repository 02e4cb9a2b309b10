#pragma once

#include "platform/KeyCodes.h"
#include "session/OnboardingMarks.h"
#include "shell/onboarding/Onboarding.h"
#include "speech/Transcription.h"
#include "support/SessionFixture.h"
#include "support/TemporaryFolder.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fenlo::test {

/// A first start on virtual time over fake ports, with a desktop on which all is well.
class OnboardingFixture : public SessionFixture {
protected:
    OnboardingFixture() {
        for (const char* name : {".onboarded", ".without_account"})
            std::filesystem::remove(files::dataDirectory() / name);
        ways.microphone = [this] { return microphone; };
        ways.hearsKeys = [this] { return hearsKeys; };
        ways.postsKeys = [this] { return postsKeys; };
        ways.hasAccessibility = [this] { return hasAccessibility; };
        ways.hasTray = [this] { return hasTray; };
        ways.keyringAnswers = [this] {
            ++keyringAsked;
            return keyringAnswers;
        };
        ways.enableAccessibility = [this] { done.push_back("accessibility"); };
        ways.openSoundSettings = [this] {
            done.push_back("sound settings");
            return hasSoundSettings;
        };
        ways.askKeyringAgain = [this] { done.push_back("keyring"); };
        ways.copy = [this](const std::string& text) { done.push_back("copied " + text); };
        steps.prepare = [this](std::stop_token) { ++prepared; };
        steps.transcribe = [this](const TranscribeRequest& request, std::stop_token) {
            requests.push_back(request);
            if (transcriptionFails)
                throw TranscriberError(TranscriberError::Kind::noAPIKey, "no key");
            return transcript;
        };
        steps.draw = [](std::size_t) { return std::size_t{2}; };
    }

    Onboarding& start(OnboardingStart how = {.skipLogin = true}) {
        how.onFinish = [this] { ended.push_back("finished"); };
        how.onClose = [this] { ended.push_back("closed"); };
        how.onLogin = [this](const auto& name, const auto& email) { ended.push_back(name + " <" + email + ">"); };
        onboarding = std::make_unique<Onboarding>(
            OnboardingServices{{audioInput, clock, mainQueue, background, config, notifications, keys, tones, overlay},
                               menuBar,
                               steps,
                               ways,
                               signIn,
                               home / "voice_profile.json",
                               [this](const std::string& name) { events.push_back(name); }},
            std::move(how));
        onboarding->begin();
        return *onboarding;
    }
    void goTo(OnboardingScreen screen) {
        while (onboarding->flow.screen() < screen)
            onboarding->flow.next();
        ASSERT_EQ(onboarding->flow.screen(), screen);
    }
    void hold() { keys.change(mask::control, key::controlLeft); }
    void release() { keys.change(0, key::controlLeft); }

    const TemporaryFolder home;
    SystemChecks::Desktop ways;
    std::optional<std::string> microphone = "Built-in Audio";
    bool hearsKeys = true, postsKeys = true, hasAccessibility = true, hasTray = true, keyringAnswers = true;
    bool hasSoundSettings = true;
    int keyringAsked = 0, prepared = 0;
    std::vector<std::string> done, ended, events;
    Practice::Steps steps;
    std::vector<TranscribeRequest> requests;
    SignIn signIn;
    std::unique_ptr<Onboarding> onboarding;
};

} // namespace fenlo::test
