#include "WhisperEngine/Models/ModelVariant.h"

#include <gtest/gtest.h>

using namespace fenlo::whisper;

TEST(ModelVariant, IsReadFromNames) {
    EXPECT_EQ(variantOfName("openai_whisper-small"), ModelVariant::small);
    EXPECT_EQ(variantOfName("openai_whisper-small.en"), ModelVariant::smallEn);
    EXPECT_EQ(variantOfName("openai_whisper-large"), ModelVariant::large);
    EXPECT_EQ(variantOfName("openai_whisper-large-v2_turbo_955MB"), ModelVariant::largev2);
    EXPECT_EQ(variantOfName("openai_whisper-large-v3-v20240930_626MB"), ModelVariant::largev3);
    EXPECT_EQ(variantOfName("distil-whisper_distil-large-v3"), ModelVariant::largev3);
    EXPECT_EQ(variantOfName("my-own-model"), std::nullopt);
}

TEST(ModelVariant, IsDetectedFromSizes) {
    std::string logged;
    const Logging log(LogLevel::debug, [&](const std::string& line) { logged += line; });
    EXPECT_EQ(detectVariant(51865, 384, "", log), ModelVariant::tiny);
    EXPECT_EQ(detectVariant(51864, 1024, "", log), ModelVariant::mediumEn);
    EXPECT_EQ(detectVariant(51866, 1280, "", log), ModelVariant::largev3);
    EXPECT_EQ(detectVariant(51865, 1280, "", log), ModelVariant::largev2);
    EXPECT_EQ(detectVariant(51865, 1280, "openai_whisper-large", log), ModelVariant::large) << "as the name says";
    EXPECT_EQ(detectVariant(51865, {}, "openai_whisper-small", log), ModelVariant::small);
    EXPECT_EQ(detectVariant(51865, 768, "openai_whisper-tiny.en", log), ModelVariant::small) << "a wrong name";
    EXPECT_EQ(detectVariant(51864, 128, "micro", log), ModelVariant::baseEn) << "an unpublished size";
    EXPECT_EQ(logged, "");
    EXPECT_EQ(detectVariant(50000, 384, "openai_whisper-tiny", log), ModelVariant::base);
    EXPECT_EQ(logged, "Unrecognized vocabulary size: 50000, defaulting to base variant");
    EXPECT_FALSE(isMultilingual(51864));
    EXPECT_TRUE(isMultilingual(51866));
}
