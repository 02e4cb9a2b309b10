#include "OnboardingFixture.h"
#include "platform/KeyCodes.h"
#include "support/LogCapture.h"

using namespace fenlo;
using namespace fenlo::test;

namespace {

using Screen = OnboardingScreen;

class FirstStartFlow : public OnboardingFixture {
protected:
    /// The screens from here to the last one, with their steps and the progress that is shown.
    std::vector<std::string> walk() {
        std::vector<std::string> all;
        while (true) {
            const auto& state = onboarding->state;
            all.push_back(std::to_string(state.step) + ":" + std::to_string(static_cast<int>(state.progress() * 1000)));
            if (onboarding->flow.screen() == Screen::done)
                return all;
            onboarding->flow.next();
        }
    }
};

TEST_F(FirstStartFlow, WalksThroughTheStepsAndLeavesTheMarker) {
    start();
    EXPECT_EQ(walk(), (std::vector<std::string>{"1:0", "2:0", "2:0", "3:125", "4:250", "4:250", "5:375", "6:500",
                                                "7:625", "9:1000"}))
        << "no profession has no questions, and nobody signed in";
    EXPECT_FALSE(OnboardingMarks::isOnboarded());
    onboarding->flow.next();
    EXPECT_TRUE(OnboardingMarks::isOnboarded());
    EXPECT_EQ(ended, std::vector<std::string>{"finished"});
    onboarding->flow.next();
    onboarding->flow.close();
    EXPECT_EQ(ended.size(), 1u);
}

TEST_F(FirstStartFlow, TheServiceHearsOfEachStepOnce) {
    signIn.begin = [](SignInProvider, const SignIn::Told& tell) {
        tell.done({.error = {}, .name = "Ada", .email = ""});
    };
    start({});
    onboarding->login.begin(SignInProvider::google);
    goTo(Screen::permissions);
    onboarding->flow.back();
    walk();
    std::vector<std::string> expected;
    for (const char* name : {"login", "welcome", "profession", "permissions", "practice", "voice_profile", "features",
                             "email_collection", "done"})
        expected.push_back(std::string("onboarding.") + name);
    EXPECT_EQ(events, expected);
}

TEST_F(FirstStartFlow, GoesBackToTheFirstScreenAndNotToTheLogin) {
    signIn.begin = [](SignInProvider, const SignIn::Told& tell) {
        tell.done({.error = {}, .name = "Ada", .email = "ada@example.org"});
    };
    start({});
    EXPECT_EQ(onboarding->flow.screen(), Screen::login);
    EXPECT_FALSE(onboarding->flow.canGoBack());
    onboarding->login.begin(SignInProvider::google);
    EXPECT_EQ(onboarding->flow.screen(), Screen::welcome);
    EXPECT_FALSE(onboarding->flow.canGoBack());
    goTo(Screen::permissions);
    for (const Screen expected : {Screen::twoModes, Screen::profession, Screen::welcome, Screen::welcome}) {
        onboarding->flow.back();
        EXPECT_EQ(onboarding->flow.screen(), expected);
    }
}

TEST_F(FirstStartFlow, ClosedWindowKeepsWhatWasChosenAndComesAgain) {
    start();
    goTo(Screen::profession);
    onboarding->profession.choose("developer");
    goTo(Screen::professionDetails);
    onboarding->profession.toggle(ProfessionForm::Topic::specialties, "rust");
    onboarding->profession.toggle(ProfessionForm::Topic::specialties, "go");
    goTo(Screen::practice);
    onboarding->flow.close();
    EXPECT_EQ(ended, std::vector<std::string>{"closed"});
    EXPECT_FALSE(OnboardingMarks::isOnboarded());
    hold();
    EXPECT_FALSE(onboarding->state.isKeyPressed) << "the hotkey is the program's now";
    EXPECT_EQ(config.get().profession, "developer");
    start();
    goTo(Screen::professionDetails);
    EXPECT_EQ(config.get().professionSpecialties, (std::vector<std::string>{"rust", "go"}));
}

TEST_F(FirstStartFlow, LoginIsTheOnlyScreenForWhoWasHereBefore) {
    const LogCapture logged;
    ASSERT_TRUE(OnboardingMarks::setOnboarded());
    std::vector<SignIn::Told> attempts;
    int cancelled = 0;
    signIn.begin = [&](SignInProvider, SignIn::Told told) { attempts.push_back(std::move(told)); };
    signIn.cancel = [&] { ++cancelled; };
    start({});
    LoginForm& login = onboarding->login;
    login.begin(SignInProvider::apple);
    EXPECT_EQ(login.waitingText(), "Waiting for Apple sign-in...");
    login.begin(SignInProvider::google); // takes its place
    EXPECT_EQ(login.waitingText(), "Waiting for your browser...");
    attempts[0].done({.error = {}, .name = "Eve", .email = {}});
    attempts[0].noBrowser("https://eve.example");
    EXPECT_EQ(login.browserText(), "");
    attempts[1].noBrowser("https://login.example");
    EXPECT_EQ(login.browserText(), "No web browser opened; copy the address and open it in one yourself.");
    login.copyAddress();
    EXPECT_EQ(done.back(), "copied https://login.example");
    attempts[1].done({.error = "Login timed out", .name = {}, .email = {}});
    EXPECT_EQ(login.error(), "Login timed out");
    EXPECT_EQ(login.browserText() + login.waitingText(), "");
    login.begin(SignInProvider::apple);
    EXPECT_EQ(login.error(), "");
    attempts[2].done({.error = "You have refused", .name = {}, .email = {}});
    EXPECT_TRUE(ended.empty());

    login.begin(SignInProvider::google);
    login.cancel();
    EXPECT_EQ(cancelled, 1);
    EXPECT_EQ(login.waitingFor(), std::nullopt);
    login.begin(SignInProvider::google);
    attempts[3].done({.error = {}, .name = "Eve", .email = {}});
    EXPECT_TRUE(ended.empty()) << "too late";
    attempts[4].done({.error = {}, .name = "Ada", .email = "ada@example.org"});
    EXPECT_EQ(ended, (std::vector<std::string>{"Ada <ada@example.org>", "finished"}));
    EXPECT_TRUE(logged.contains("[Fenlo] Login failed: Login timed out"));
    EXPECT_TRUE(logged.contains("[Fenlo] Apple login failed: You have refused"));
    EXPECT_TRUE(logged.contains("[Fenlo] Login success (Google): Ada"));
    EXPECT_EQ(cancelled, 1);
}

TEST_F(FirstStartFlow, LeavingTheLoginGivesARunningSignInUp) {
    int cancelled = 0;
    signIn.begin = [](SignInProvider, const SignIn::Told&) {};
    signIn.cancel = [&] { ++cancelled; };
    signIn.hasApple = false;
    start({});
    onboarding->login.begin(SignInProvider::apple);
    EXPECT_EQ(onboarding->login.waitingText(), "") << "not offered";
    onboarding->login.begin(SignInProvider::google);
    onboarding->flow.continueWithoutAccount();
    EXPECT_EQ(cancelled, 1);
    start({});
    onboarding->login.begin(SignInProvider::google);
    onboarding->flow.close();
    EXPECT_EQ(cancelled, 2);
    start({});
    onboarding->login.begin(SignInProvider::google);
    onboarding.reset();
    EXPECT_EQ(cancelled, 3);
}

TEST_F(FirstStartFlow, AddressIsAskedForWhereTheProviderGaveNone) {
    const LogCapture logged;
    std::string given;
    signIn.begin = [](SignInProvider, const SignIn::Told& tell) {
        tell.done({.error = {}, .name = "Ada", .email = {}});
    };
    signIn.giveEmail = [&](const std::string& email) { given = email; };
    start({});
    onboarding->login.begin(SignInProvider::apple);
    EXPECT_TRUE(logged.contains("[Fenlo] Login success (Apple): Ada (no email)"));
    goTo(Screen::email);
    EXPECT_EQ(onboarding->state.step, 8);
    for (const char* wrong : {"", "ada", "ada@", "@example.org", "ada@example", "a da@example.org", "a@b@c.de"})
        EXPECT_FALSE(LoginForm::isEmail(wrong)) << wrong;
    onboarding->login.giveEmail(" ada@example.org ");
    EXPECT_EQ(given, "ada@example.org");
}

TEST_F(FirstStartFlow, NobodyHasToSignIn) {
    start({});
    onboarding->flow.continueWithoutAccount();
    EXPECT_EQ(onboarding->flow.screen(), Screen::welcome);
    EXPECT_TRUE(OnboardingMarks::isWithoutAccount());
    EXPECT_TRUE(ended.empty());
}

TEST_F(FirstStartFlow, VoiceProfileAloneIsOneScreen) {
    int paused = 0, resumed = 0;
    const auto pause = notifications.observe(notification::hotkeyPause, [&](const auto&) { ++paused; });
    const auto resume = notifications.observe(notification::hotkeyResume, [&](const auto&) { ++resumed; });
    start({.voiceProfileOnly = true});
    EXPECT_EQ(onboarding->state.step, 6);
    EXPECT_FALSE(onboarding->flow.canGoBack());
    EXPECT_EQ(paused, 1);
    ASSERT_TRUE(onboarding->reading());
    onboarding->reading()->skip();
    EXPECT_EQ(ended, std::vector<std::string>{"finished"});
    EXPECT_EQ(resumed, 1);
    EXPECT_FALSE(OnboardingMarks::isOnboarded());
    EXPECT_EQ(events, std::vector<std::string>{}) << "it is no first start";
}

TEST_F(FirstStartFlow, SkippedVoiceProfileLeadsOnAndLeavesTheHotkey) {
    start();
    goTo(Screen::voiceProfile);
    onboarding->reading()->skip();
    EXPECT_EQ(onboarding->flow.screen(), Screen::features);
    EXPECT_FALSE(keys.listener.onFlagsChanged);
    onboarding->flow.back();
    onboarding->flow.back();
    EXPECT_EQ(onboarding->flow.screen(), Screen::practice);
    hold();
    EXPECT_TRUE(onboarding->state.isKeyPressed);
}

} // namespace
