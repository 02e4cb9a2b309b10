#include "speech/LocalTranscriber.h"

#include <gtest/gtest.h>

using namespace fenlo;

TEST(LocalTranscriber, SaysThatItIsNotReadyWithoutAnEngine) {
    const LocalTranscriber none;
    EXPECT_FALSE(none.isReady());
    EXPECT_THROW(none.transcribe("clip.wav", "en", {}), LocalTranscriberError);
}

TEST(LocalTranscriber, PassesAChosenLanguageOnly) {
    std::vector<std::optional<std::string>> languages;
    const LocalTranscriber local([&](auto&&, const std::optional<std::string>& language, auto&&) {
        languages.push_back(language);
        return std::string("text");
    });
    EXPECT_TRUE(local.isReady());
    EXPECT_EQ(local.transcribe("clip.wav", "auto", {}), "text");
    local.transcribe("clip.wav", "de", {});
    EXPECT_EQ(languages, (std::vector<std::optional<std::string>>{std::nullopt, "de"}));
}
