#include "speech/TranscriptGuards.h"
#include "base/Text.h"
#include "speech/RepeatedPhrases.h"

#include <gtest/gtest.h>
#include <limits>

using namespace fenlo;

namespace {

bool rejects(const std::string& text, float speechRatio = 0.3F) {
    return HallucinationGuard("Site.example").isHallucination(text, speechRatio);
}

std::string tidy(const std::string& text) {
    return postProcess(text, {});
}

} // namespace

TEST(HallucinationGuard, RejectsInventedPhrasesWithAnyPunctuation) {
    for (const char* text : {"", " ", "...", "…", "Thanks for watching!", " \"Goodbye.\" ", "BYE BYE…", "Um, "})
        EXPECT_TRUE(rejects(text)) << text;
    for (const char* text :
         {"site.example", "Subtitles by the Site.example community.", "Subtitles made by the Site.example community",
          "Sous-titres réalisés par la communauté d'Site.example", "ご視聴ありがとうございました",
          "Don't forget to like and subscribe!", "music", "Music playing"})
        EXPECT_TRUE(rejects(text)) << text;
    for (const char* text : {"Hello there", "umbrella", "I like music", "ご視聴"})
        EXPECT_FALSE(rejects(text)) << text;
}

TEST(HallucinationGuard, TrustsAClipThatHeldSpeech) {
    for (const char* text : {"Thanks for watching!", "no no no", ""}) {
        EXPECT_TRUE(rejects(text, 0.4F)) << text;
        EXPECT_FALSE(rejects(text, 0.41F)) << text;
        EXPECT_FALSE(rejects(text, std::numeric_limits<float>::quiet_NaN())) << text;
    }
}

TEST(HallucinationGuard, RejectsEndlessRepeats) {
    EXPECT_TRUE(rejects("no no no"));
    EXPECT_TRUE(rejects("well No, no, no, no well"));
    EXPECT_FALSE(rejects("no, no no"));
    EXPECT_FALSE(rejects("no no yes no"));
    EXPECT_TRUE(rejects("I think that I think that I think that"));
    EXPECT_TRUE(rejects("a b a b a b")) << "overlapping pairs count";
    EXPECT_FALSE(rejects("a b c a b d"));
}

TEST(HallucinationGuard, RejectsShortTextsThatBeginLikeAnOutro) {
    EXPECT_TRUE(rejects("Thank you for the report", 0.2F));
    const std::string start = "thank you for the ";
    EXPECT_TRUE(rejects(start + std::string(59 - start.size(), 'x')));
    EXPECT_FALSE(rejects(start + std::string(60 - start.size(), 'x')));
    EXPECT_FALSE(rejects("I thank you"));
}

TEST(PostProcess, TidiesProse) {
    const std::pair<const char*, const char*> cases[] = {
        {"<|startoftranscript|>Hello", "Hello"},
        {"<|en|><|0.00|> we  met   here <|2.40|>", "We met here"},
        {"We are done.", "We are done"},
        {"We are done...", "We are done..."},
        {"We are done .", "We are done"},
        {"Is it 3.5? Yes", "Is it 3.5? Yes"},
        {"élan.", "Élan"},
        {"東京です", "東京です"},
        {"1 apple", "1 apple"},
        {"a < b | c > d", "A < b | c > d"},
        {".", ""},
        {"", ""},
    };
    for (const auto& [raw, clean] : cases)
        EXPECT_EQ(tidy(raw), clean) << raw;
    EXPECT_EQ(postProcess("hello", {.autoCapitalize = false}), "hello");
    EXPECT_EQ(text::repairUtf8(tidy("caf\xE9 ol\xFF")), tidy("caf\xE9 ol\xFF"));
}

TEST(CollapseRepeats, KeepsOneOfThreeOrMoreCopies) {
    const std::pair<const char*, const char*> cases[] = {
        {"I think that I think that I think that", "I think that"},
        {"I think That i think that I THINK that", "I think That"},
        {"go on go on go on now", "go on now"},
        {"so a b c d e a b c d e a b c d e end", "so a b c d e end"},
        {"a b a b a b a b a b", "a b"},
        {"go on go on now", "go on go on now"}, // two copies are natural
        {"very very good and very very nice", "very very good and very very nice"},
        {"no no no no", "no no no no"},       // fewer than five words
        {"no no no no no", "no no no no no"}, // two pairs and a rest
        {"no no no no no no", "no no"},       // three pairs
        {"x  y z  v w", "x y z v w"},
        {"x  y", "x  y"},
    };
    for (const auto& [raw, kept] : cases)
        EXPECT_EQ(collapseRepeats(raw), kept) << raw;
}
