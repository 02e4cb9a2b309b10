#include "speech/HintPrompt.h"
#include "base/Text.h"

#include <gtest/gtest.h>

using namespace fenlo;

namespace {

std::string letters(std::size_t count) {
    return std::string(count, 'v');
}

/// Makes the prompt from a vocabulary, the terms of doctors and a context.
struct Prompt {
    std::vector<std::string> vocabulary;
    std::vector<std::string> terms;
    std::optional<std::string> hint;
    std::string profession = "doctor";
    std::string mode = "work";

    std::string text() const {
        Settings settings;
        settings.customVocabulary = vocabulary;
        settings.profession = profession;
        settings.dictationMode = Choice<DictationMode>(mode);
        return hintPrompt(
            settings,
            [this](const std::string& asked) { return asked == "doctor" ? terms : std::vector<std::string>{}; }, hint);
    }
};

} // namespace

TEST(HintPrompt, JoinsItsPartsAndIsEmptyWithoutThem) {
    EXPECT_EQ((Prompt{}.text()), "");
    EXPECT_EQ((Prompt{{"Fenlo", "Kubernetes"}, {"stat", "EKG"}, " as said \n"}.text()),
              "Fenlo, Kubernetes, stat, EKG. as said");
    EXPECT_EQ((Prompt{{}, {"stat"}, "before"}.text()), "stat. before");
    EXPECT_EQ((Prompt{{}, {}, "before"}.text()), "before");
    EXPECT_EQ((Prompt{{"a"}, {}, " \n"}.text()), "a");
}

TEST(HintPrompt, TermsOfTheProfessionNeedWorkModeAndAProfession) {
    EXPECT_EQ((Prompt{{"a"}, {"stat"}, {}, "doctor", "personal"}.text()), "a");
    EXPECT_EQ((Prompt{{"a"}, {"stat"}, {}, ""}.text()), "a");
    EXPECT_EQ((Prompt{{"a"}, {"stat"}, {}, "other"}.text()), "a");
}

TEST(HintPrompt, TakesTheFirstTermsAndTheEndOfTheContext) {
    std::vector<std::string> many;
    for (int i = 1; i <= 31; ++i)
        many.push_back(std::to_string(i));
    const std::string both = Prompt{many, many, {}}.text();
    EXPECT_NE(both.find("30, 1, "), std::string::npos) << "thirty of the vocabulary";
    EXPECT_TRUE(both.ends_with(", 20")) << "twenty of the profession";
    EXPECT_EQ((Prompt{{}, {}, letters(200).insert(0, "x")}.text()), letters(200));
    EXPECT_EQ((Prompt{{}, {}, std::string("start") + "é" + std::string(199, 'e')}.text()), "é" + std::string(199, 'e'))
        << "characters, not bytes";
}

TEST(HintPrompt, HoldsAtMost896Characters) {
    EXPECT_EQ((Prompt{{letters(896)}, {}, {}}.text().size()), 896u);
    EXPECT_EQ((Prompt{{letters(897)}, {"stat"}, {}}.text()), "stat")
        << "a part that does not fit is left out whole; the next one may still fit";
    EXPECT_EQ((Prompt{{letters(800)}, {letters(94)}, {}}.text().size()), 896u);
    EXPECT_EQ((Prompt{{letters(800)}, {letters(95)}, {}}.text().size()), 800u);
    EXPECT_EQ((Prompt{{letters(800)}, {}, letters(94)}.text().size()), 896u);
    EXPECT_EQ((Prompt{{letters(800)}, {letters(95)}, letters(95)}.text()), letters(800));
    EXPECT_EQ((Prompt{{}, {letters(895)}, {}}.text()), "") << "a separator is counted even where none is needed";
    std::string family;
    for (int i = 0; i < 896; ++i)
        family += "👩‍👧";
    EXPECT_EQ((Prompt{{family}, {}, {}}.text()), family);
}
