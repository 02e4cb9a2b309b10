#include "OnboardingFixture.h"
#include "support/Signals.h"
#include "text/professions/Professions.h"

#include <algorithm>

using namespace fenlo;
using namespace fenlo::test;

namespace {

using Topic = ProfessionForm::Topic;

class Forms : public OnboardingFixture {
protected:
    std::vector<std::string> questions() const {
        std::vector<std::string> texts;
        for (const auto& question : onboarding->profession.questions())
            texts.push_back(question.text);
        return texts;
    }
};

TEST_F(Forms, EachProfessionHasItsQuestions) {
    ProfessionForm& form = start().profession;
    const std::string last = "What do you mainly dictate?";
    const std::vector<std::pair<const char*, std::vector<std::string>>> expected{
        {"doctor", {"What's your specialty?", last}},
        {"lawyer", {"What's your role?", "What areas do you practice?", last}},
        {"developer", {"What languages do you use?", last}},
        {"pm", {"What tools do you use most?", last}},
        {"datascience", {"What's your focus area?", last}},
        {"designer", {"What kind of design?", last}},
        {"executive", {"What's your role?", last}},
        {"other", {last}},
    };
    for (const auto& [profession, texts] : expected) {
        form.choose(profession);
        EXPECT_EQ(questions(), texts) << profession;
    }
    EXPECT_EQ(form.professions().size(), professionChoices().size());
}

TEST_F(Forms, ChoicesOfAProfessionAreStoredAndThoseOfAnotherAreForgotten) {
    config.update([](Settings& settings) {
        settings.profession = "doctor";
        settings.professionVocabulary = {"learned"};
        settings.professionSpecialties = {"surgery"};
    });
    ProfessionForm& form = start().profession;
    form.store();
    EXPECT_EQ(config.get().professionVocabulary, std::vector<std::string>{"learned"}) << "the same profession";
    form.choose("lawyer");
    form.toggle(Topic::role, "associate");
    form.toggle(Topic::role, "partner");
    form.toggle(Topic::practiceAreas, "tax");
    form.toggle(Topic::practiceAreas, "ip");
    form.toggle(Topic::practiceAreas, "tax");
    form.toggle(Topic::dictationTypes, "emails");
    form.setMode(DictationMode::personal);
    EXPECT_EQ(config.get().profession, "doctor") << "not stored yet";
    form.store();
    const Settings stored = config.get();
    EXPECT_EQ(stored.profession, "lawyer");
    EXPECT_EQ(stored.professionRole, "partner");
    EXPECT_EQ(stored.lawyerPracticeAreas, std::vector<std::string>{"ip"});
    EXPECT_EQ(stored.dictationTypes, std::vector<std::string>{"emails"});
    EXPECT_TRUE(stored.professionSpecialties.empty());
    EXPECT_EQ(stored.dictationMode, DictationMode::personal);
    EXPECT_NE(stored.professionVocabulary, std::vector<std::string>{"learned"});

    form.choose("writer");
    form.skip();
    form.store();
    EXPECT_EQ(config.get().profession, "lawyer");
}

TEST_F(Forms, MicrophoneIsHeardOnItsScreenOnly) {
    start();
    goTo(OnboardingScreen::micMode);
    MicrophoneForm& form = onboarding->microphone;
    EXPECT_EQ(form.devices.inUse(), "Fake microphone");
    mainQueue.advance(0.1);
    audioInput.hear(constant(0.15F, 4096));
    mainQueue.advance(0.1);
    EXPECT_GT(form.devices.level(), 0.5F);
    int told = 0;
    const auto observation = notifications.observe(notification::micModeChanged, [&](const auto&) { ++told; });
    form.choose(MicMode::airpods);
    EXPECT_EQ(config.get().micMode, MicMode::airpods);
    EXPECT_EQ(told, 1);
    onboarding->flow.back();
    EXPECT_FALSE(audioInput.microphone.engine);
}

TEST_F(Forms, FeaturesBeginWithThoseOfTheProfession) {
    config.update([](Settings& settings) { settings.profession = "developer"; });
    const auto features = start().features();
    ASSERT_GT(features.size(), 3u);
    EXPECT_EQ(features[0].title, profile("developer").featureCards[0].title);
    EXPECT_TRUE(std::ranges::any_of(
        features, [](const Feature& feature) { return feature.text.find("Left Control") != std::string::npos; }));
}

} // namespace
