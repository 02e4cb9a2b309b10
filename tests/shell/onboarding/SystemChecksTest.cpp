#include "OnboardingFixture.h"

using namespace fenlo;
using namespace fenlo::test;

namespace {

using Subject = SystemChecks::Subject;
using CheckState = SystemChecks::State;

class Checks : public OnboardingFixture {
protected:
    void begin() {
        start();
        goTo(OnboardingScreen::permissions);
    }
    void passASecond() {
        mainQueue.advance(1);
        finish();
    }
    SystemChecks::Row row(Subject subject) const {
        return onboarding->checks.rows().at(static_cast<std::size_t>(subject));
    }
};

TEST_F(Checks, AreLookedAtAgainWhileTheScreenIsShown) {
    microphone.reset();
    begin();
    EXPECT_EQ(row(Subject::secureStore).state, CheckState::checking);
    finish();
    EXPECT_EQ(row(Subject::secureStore).state, CheckState::works);
    EXPECT_EQ(row(Subject::microphone).state, CheckState::broken);
    int changes = 0;
    const auto watch = onboarding->checks.watch([&] { ++changes; });
    passASecond();
    EXPECT_EQ(changes, 0) << "nothing new";
    microphone = "Headset";
    passASecond();
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(row(Subject::microphone).detail, "Headset");
    EXPECT_EQ(keyringAsked, 1) << "one that answered is left alone";
    onboarding->flow.next();
    hasTray = false;
    passASecond();
    EXPECT_EQ(changes, 1);
}

TEST_F(Checks, RemediesComeFirstAndCommandsAfterThem) {
    microphone.reset();
    hasSoundSettings = hasAccessibility = keyringAnswers = false;
    begin();
    finish();
    for (const Subject subject : {Subject::microphone, Subject::accessibility, Subject::secureStore})
        onboarding->checks.act(subject);
    EXPECT_EQ(done, (std::vector<std::string>{"sound settings", "accessibility", "keyring"}));
    hasAccessibility = true;
    passASecond();
    EXPECT_EQ(row(Subject::accessibility).state, CheckState::works);
    EXPECT_EQ(row(Subject::accessibility).action, "");
    EXPECT_EQ(row(Subject::secureStore).command, "sudo apt install gnome-keyring");
    done.clear();
    onboarding->checks.act(Subject::secureStore);
    onboarding->checks.act(Subject::keys); // has no remedy
    EXPECT_EQ(done, std::vector<std::string>{"copied sudo apt install gnome-keyring"});
}

TEST_F(Checks, AKeyringMayAnswerWhenTheWindowIsGone) {
    begin();
    onboarding.reset();
    finish(); // the sanitizer sees what it touches
    EXPECT_EQ(keyringAsked, 1);
}

TEST_F(Checks, KeysThatAreNotHeardHaveAnotherWay) {
    begin();
    EXPECT_EQ(row(Subject::keys).state, CheckState::works);
    postsKeys = false;
    passASecond();
    EXPECT_EQ(row(Subject::keys).state, CheckState::limited);
    const std::string detail = row(Subject::keys).detail;
    hearsKeys = false;
    passASecond();
    EXPECT_NE(row(Subject::keys).detail, detail);
    EXPECT_EQ(row(Subject::tray).state, CheckState::works);
}

} // namespace
