#include "OnboardingFixture.h"
#include "platform/KeyCodes.h"

using namespace fenlo;
using namespace fenlo::test;

namespace {

class Practising : public OnboardingFixture {
protected:
    Practising() {
        config.update([](Settings& settings) { settings.soundScheme = SoundSchemeId::gentle; });
    }

    void begin() {
        start();
        goTo(OnboardingScreen::practice);
        background.runAll();
    }
    void say(double seconds) {
        hold();
        speak(seconds);
        release();
    }
    std::string shown() const { return onboarding->practice.status(); }
    PracticeState state() const { return onboarding->state.practiceState; }
    static bool anyFileLeft() {
        for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path()))
            if (entry.path().extension() == ".wav")
                return true;
        return false;
    }
};

TEST_F(Practising, AnyWordsAreASuccess) {
    begin();
    EXPECT_EQ(prepared, 1) << "the recogniser gets ready meanwhile";
    EXPECT_EQ(shown(), "");
    hold();
    speak(0.5);
    EXPECT_EQ(shown(), "listening... keep holding and speak!");
    EXPECT_TRUE(onboarding->state.isKeyPressed);
    EXPECT_GT(onboarding->practice.level(), 0);
    EXPECT_EQ(tonesPlayed(), 1);
    EXPECT_FALSE(pillText().empty());
    speak(0.5);
    release();
    EXPECT_EQ(state(), PracticeState::processing);
    EXPECT_EQ(shown(), "Translating...");
    hold(); // too early: the words of the first take come
    EXPECT_EQ(shown(), "Translating...");
    release();
    transcript = "x";
    finish();
    EXPECT_EQ(state(), PracticeState::success);
    EXPECT_EQ(shown(), "nice!");
    EXPECT_EQ(onboarding->state.practiceText, "x");
    EXPECT_EQ(tonesPlayed(), 1);
    EXPECT_EQ(pillText(), "");
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_GT(requests[0].clipDuration, 0.9);
    EXPECT_FALSE(anyFileLeft());
}

TEST_F(Practising, FailuresSayWhatToDoAndTheNextTryCounts) {
    begin();
    hold();
    release();
    EXPECT_EQ(shown(), "didn't catch that — try again");
    transcript = " \n";
    say(1.0);
    finish();
    EXPECT_EQ(shown(), "didn't catch that — try again");
    EXPECT_EQ(state(), PracticeState::failed);
    transcriptionFails = true;
    say(1.0);
    finish();
    EXPECT_EQ(shown(), "something went wrong — try again");
    EXPECT_EQ(onboarding->practice.reason(), "No key for the service.");
    transcriptionFails = false;
    transcript = "Hello";
    say(1.0);
    finish();
    EXPECT_EQ(state(), PracticeState::success);
    EXPECT_EQ(onboarding->practice.reason(), "");
    EXPECT_FALSE(anyFileLeft());
}

TEST_F(Practising, MissingMicrophoneIsNamed) {
    audioInput.microphone.format = {};
    audioInput.microphone.device.reset();
    begin();
    hold();
    mainQueue.advance(1);
    release();
    EXPECT_EQ(onboarding->practice.reason(), "No microphone.");
}

TEST_F(Practising, ShortcutIsNoTake) {
    begin();
    hold();
    speak(1.0);
    keys.keyDown(key::c);
    EXPECT_EQ(state(), PracticeState::idle);
    EXPECT_FALSE(onboarding->state.isKeyPressed);
    release();
    finish();
    EXPECT_TRUE(requests.empty());
    EXPECT_EQ(pillText(), "");
    EXPECT_FALSE(anyFileLeft());
}

TEST_F(Practising, LeavingDropsTheTake) {
    begin();
    say(1.0);
    onboarding->flow.next();
    transcript = "too late";
    finish();
    EXPECT_EQ(onboarding->state.practiceText, "");
    EXPECT_EQ(state(), PracticeState::idle);
    onboarding->flow.back();
    hold();
    speak(0.5);
    onboarding.reset();
    finish();
    EXPECT_EQ(pillText(), "");
    EXPECT_FALSE(anyFileLeft());
}

} // namespace
