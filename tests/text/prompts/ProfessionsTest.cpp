#include "text/professions/Professions.h"
#include "base/Files.h"
#include "base/Text.h"
#include "settings/Config.h"
#include "support/VirtualTime.h"
#include "text/VoiceCommands.h"
#include "text/professions/Questions.h"

#include <gmock/gmock.h>
#include <set>

using namespace fenlo;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

/// The phrases of a screen text that stand in “quotation marks”.
std::vector<std::string> quotedPhrases(std::string_view screenText) {
    const text::Regex outsideOfQuotes("(^|”)[^“]*(“|$)");
    std::vector<std::string> phrases = text::split(outsideOfQuotes.replaceAll(screenText, "\n"), '\n');
    std::erase(phrases, "");
    return phrases;
}

} // namespace

TEST(Professions, EachHasAProfileOfItsOwnWhoseCommandsCanBeSpoken) {
    std::set<std::string_view> keys, samples;
    for (const ProfessionChoice& choice : professionChoices()) {
        SCOPED_TRACE(choice.key);
        EXPECT_TRUE(keys.insert(choice.key).second);
        EXPECT_EQ(professionLabel(choice.key), choice.label);
        const ProfessionProfile& of = profile(choice.key);
        EXPECT_TRUE(samples.insert(of.sample).second);
        std::set<std::string_view> phrases;
        for (const SpokenCommand& command : of.voiceCommands) {
            EXPECT_TRUE(phrases.insert(command.spoken).second) << command.spoken;
            EXPECT_EQ(text::lower(command.spoken), command.spoken);
            EXPECT_FALSE(command.output.empty()) << command.spoken;
        }
        EXPECT_EQ((std::set(of.vocabulary.begin(), of.vocabulary.end()).size()), of.vocabulary.size());
    }
}

TEST(Professions, AnUnknownOneIsNeutralAndItsOwnName) {
    const ProfessionProfile& neutral = profile("");
    EXPECT_EQ(&profile("other"), &neutral);
    EXPECT_EQ(&profile("beekeeper"), &neutral);
    EXPECT_EQ(professionLabel(""), "Other");
    EXPECT_EQ(professionLabel("beekeeper"), "beekeeper");
    for (const auto display : {professionDisplay, roleDisplay, specialtyDisplay, dictationTypeDisplay}) {
        EXPECT_EQ(display("beekeeper"), "beekeeper");
        EXPECT_EQ(display(""), "");
    }
    EXPECT_THAT(dictationTypeChoices("beekeeper"), ElementsAreArray(dictationTypeChoices("writer")));
}

TEST(Professions, EveryChoiceHasADisplayForm) {
    for (const ProfessionChoice& choice : professionChoices()) {
        for (const auto& offered : {specialtyChoices(choice.key), practiceAreaChoices(choice.key)})
            for (const std::string_view key : offered)
                EXPECT_TRUE(specialtyDisplay(key) != key || key == "other") << key;
        for (const std::string_view key : roleChoices(choice.key))
            EXPECT_EQ(roleDisplay(key).find('_'), std::string::npos) << key;
        EXPECT_GE(dictationTypeChoices(choice.key).size(), 6u) << choice.key;
        for (const std::string_view key : dictationTypeChoices(choice.key))
            EXPECT_EQ(dictationTypeDisplay(key).find('_'), std::string::npos) << key;
    }
}

TEST(Professions, SelectingOneReplacesWhatWasLearned) {
    test::VirtualClock clock;
    const std::filesystem::path file = files::temporaryFile("professions-", ".json");
    Config config(file, clock);
    const auto select = [&](std::string_view key) {
        config.update([](Settings& s) { s.professionVocabulary.push_back("Ramipril"); });
        config.update([&](Settings& settings) { selectProfession(settings, key); });
        const Settings saved = Config(file, clock).get();
        EXPECT_EQ(saved.profession, key);
        return saved.professionVocabulary;
    };
    for (const char* key : {"doctor", "lawyer", "lawyer"})
        EXPECT_THAT(select(key), ElementsAreArray(profile(key).vocabulary)) << key;
    for (const char* key : {"writer", "student", "other", "beekeeper"})
        EXPECT_THAT(select(key), IsEmpty()) << key;
    files::removeQuietly(file);
}

TEST(Professions, TheScreensNameCommandsThatWork) {
    for (const ProfessionChoice& choice : professionChoices()) {
        Settings settings;
        settings.profession = choice.key;
        settings.autoCapitalize = false;
        int named = 0;
        for (const ProfessionCard& card : {profile(choice.key).featureCards[1], profile(choice.key).tips[1]})
            for (const std::string& phrase : quotedPhrases(card.description)) {
                ++named;
                EXPECT_NE(processVoiceCommands(phrase, "", settings).text, phrase) << choice.key;
            }
        EXPECT_GE(named, 5) << choice.key;
    }
}

TEST(ProfessionQuestions, AskWhatTheProfessionOffers) {
    EXPECT_THAT(professionQuestions(""), IsEmpty());
    for (const ProfessionChoice& choice : professionChoices())
        for (const ProfessionQuestion& question : professionQuestions(choice.key)) {
            EXPECT_FALSE(question.text.empty()) << choice.key;
            EXPECT_GE(question.options.size(), 4u) << choice.key;
            for (const ProfessionOption& option : question.options)
                EXPECT_TRUE(text::startsWithUpper(option.label)) << option.key;
        }
    const auto lawyer = professionQuestions("lawyer");
    ASSERT_EQ(lawyer.size(), 3u);
    EXPECT_FALSE(lawyer[0].takesSeveral);
    EXPECT_EQ(lawyer[0].options[3].label, "In-house counsel");
    EXPECT_EQ(lawyer[1].text, "What areas do you practice?");
    EXPECT_EQ(lawyer[1].options[4].label, "Family Law");
}

TEST(ProfessionQuestions, AnswersGoToTheirSettings) {
    Settings settings;
    answer(settings, ProfessionTopic::role, "partner", true);
    answer(settings, ProfessionTopic::role, "solo", true);
    answer(settings, ProfessionTopic::practiceAreas, "ip", true);
    answer(settings, ProfessionTopic::practiceAreas, "tax", true);
    answer(settings, ProfessionTopic::practiceAreas, "ip", false);
    answer(settings, ProfessionTopic::dictationTypes, "emails", true);
    EXPECT_EQ(settings.professionRole, "solo");
    EXPECT_THAT(answers(settings, ProfessionTopic::practiceAreas), ElementsAre("tax"));
    EXPECT_THAT(settings.dictationTypes, ElementsAre("emails"));
    answer(settings, ProfessionTopic::role, "solo", false);
    EXPECT_THAT(answers(settings, ProfessionTopic::role), IsEmpty());
}

TEST(ProfessionQuestions, AChangeKeepsWhatWasLearnedAndDropsForeignAnswers) {
    test::VirtualClock clock;
    const std::filesystem::path file = files::temporaryFile("professions-", ".json");
    Config config(file, clock);
    changeProfession(config, "lawyer");
    config.update([](Settings& settings) {
        settings.professionVocabulary.push_back("Mercy");
        settings.professionVocabulary.push_back("docker");
        settings.professionRole = "partner";
        settings.lawyerPracticeAreas = {"ip"};
        settings.dictationTypes = {"contracts", "emails"};
    });
    changeProfession(config, "lawyer");
    EXPECT_EQ(config.get().professionVocabulary.back(), "docker") << "nothing happens";
    changeProfession(config, "developer");
    const Settings now = config.get();
    std::vector<std::string> terms(profile("developer").vocabulary.begin(), profile("developer").vocabulary.end());
    terms.push_back("Mercy"); // and "Docker" is there already
    EXPECT_EQ(now.professionVocabulary, terms);
    EXPECT_EQ(now.professionRole, "");
    EXPECT_THAT(now.lawyerPracticeAreas, IsEmpty());
    EXPECT_THAT(now.dictationTypes, ElementsAre("emails"));
    files::removeQuietly(file);
}

TEST(ProfessionQuestions, AChangeKeepsTheNewestTermsAndTheProfessions) {
    test::VirtualClock clock;
    const std::filesystem::path file = files::temporaryFile("professions-", ".json");
    Config config(file, clock);
    config.update([](Settings& settings) {
        for (std::size_t i = 0; i < vocabularyLimit; ++i)
            settings.professionVocabulary.push_back("Name" + std::to_string(i));
    });
    changeProfession(config, "developer");
    const Settings now = config.get();
    ASSERT_EQ(now.professionVocabulary.size(), vocabularyLimit);
    EXPECT_EQ(now.professionVocabulary.front(), profile("developer").vocabulary.front());
    EXPECT_EQ(now.professionVocabulary.back(), "Name199");
    files::removeQuietly(file);
}
