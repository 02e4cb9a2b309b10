#include "text/professions/Professions.h"
#include "base/Files.h"
#include "base/Text.h"
#include "settings/Config.h"
#include "support/VirtualTime.h"
#include "text/VoiceCommands.h"

#include <gmock/gmock.h>
#include <map>
#include <set>

using namespace fenlo;
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

TEST(Professions, EachHasACompleteProfile) {
    const std::map<std::string_view, std::size_t> termCounts{
        {"doctor", 29},   {"lawyer", 19}, {"developer", 29}, {"pm", 23},        {"datascience", 25},
        {"designer", 16}, {"writer", 0},  {"student", 0},    {"executive", 15}, {"support", 5}};
    std::set<std::string_view> keys, labels, samples;
    for (const ProfessionChoice& choice : professionChoices()) {
        SCOPED_TRACE(choice.key);
        EXPECT_TRUE(keys.insert(choice.key).second);
        EXPECT_TRUE(labels.insert(choice.label).second);
        EXPECT_EQ(professionLabel(choice.key), choice.label);
        if (choice.key == "other")
            continue;
        const ProfessionProfile& of = profile(choice.key);
        EXPECT_TRUE(samples.insert(of.sample).second);
        EXPECT_TRUE(of.hint.starts_with("This is a")) << of.hint;
        EXPECT_TRUE(of.rewriteAddendum.starts_with("The user ")) << of.rewriteAddendum;
        std::set<std::string_view> phrases;
        for (const SpokenCommand& command : of.voiceCommands) {
            EXPECT_TRUE(phrases.insert(command.spoken).second) << command.spoken;
            EXPECT_EQ(text::lower(command.spoken), command.spoken);
            EXPECT_FALSE(command.output.empty()) << command.spoken;
        }
        EXPECT_EQ(phrases.size(), 8u);
        EXPECT_EQ((std::set(of.vocabulary.begin(), of.vocabulary.end()).size()), termCounts.at(choice.key));
        EXPECT_EQ(of.vocabulary.size(), termCounts.at(choice.key));
    }
    EXPECT_EQ(keys.size(), 11u);
}

TEST(Professions, AnUnknownOneIsNeutralAndItsOwnName) {
    const ProfessionProfile& neutral = profile("");
    EXPECT_EQ(&profile("other"), &neutral);
    EXPECT_EQ(&profile("beekeeper"), &neutral);
    EXPECT_TRUE(neutral.hint.empty() && neutral.rewriteAddendum.empty());
    EXPECT_THAT(neutral.voiceCommands, IsEmpty());
    EXPECT_THAT(neutral.vocabulary, IsEmpty());
    EXPECT_FALSE(neutral.sample.empty());
    EXPECT_EQ(professionLabel(""), "Other");
    EXPECT_EQ(professionLabel("beekeeper"), "beekeeper");
    for (const auto display : {professionDisplay, roleDisplay, specialtyDisplay, dictationTypeDisplay}) {
        EXPECT_EQ(display("beekeeper"), "beekeeper");
        EXPECT_EQ(display(""), "");
    }
}

TEST(Professions, EveryChoiceHasADisplayForm) {
    std::set<std::string_view> specialties, roles, types;
    std::set<std::string> displays;
    for (const ProfessionChoice& choice : professionChoices()) {
        for (const auto& offered : {specialtyChoices(choice.key), practiceAreaChoices(choice.key)})
            specialties.insert(offered.begin(), offered.end());
        const auto offeredRoles = roleChoices(choice.key);
        roles.insert(offeredRoles.begin(), offeredRoles.end());
        const auto offeredTypes = dictationTypeChoices(choice.key);
        types.insert(offeredTypes.begin(), offeredTypes.end());
        EXPECT_GE(offeredTypes.size(), 6u) << choice.key;
    }
    EXPECT_EQ(specialties.erase("other"), 1u) << "a doctor may have another specialty, which reads as it is";
    for (const std::string_view key : specialties) {
        EXPECT_NE(specialtyDisplay(key), key);
        EXPECT_TRUE(displays.insert(specialtyDisplay(key)).second) << key;
    }
    EXPECT_EQ(displays.size(), 61u);
    EXPECT_EQ(roles.size(), 16u);
    for (const std::string_view key : {"solo", "inhouse", "ceo", "vp", "hr", "tech", "customer", "internal_help"})
        EXPECT_TRUE(roles.contains(key) && roleDisplay(key) != key) << key;
    EXPECT_EQ(types.size(), 16u) << "all but social, which is offered to nobody";
    for (const std::string_view key : types)
        EXPECT_EQ(dictationTypeDisplay(key).find('_'), std::string::npos) << key << " has no display form";
    EXPECT_EQ(dictationTypeDisplay("social"), "social media");
    EXPECT_THAT(dictationTypeChoices("lawyer").front(), "legal_docs");
    EXPECT_THAT(dictationTypeChoices("beekeeper"), ElementsAreArray(dictationTypeChoices("writer")));
}

TEST(Professions, SelectingOneReplacesWhatWasLearned) {
    test::VirtualClock clock;
    const std::filesystem::path file = files::temporaryFile("professions-", ".json");
    Config config(file, clock);
    const auto select = [&](std::string_view key) {
        config.update([](Settings& s) { s.professionVocabulary.push_back("Ramipril"); });
        selectProfession(config, key);
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
