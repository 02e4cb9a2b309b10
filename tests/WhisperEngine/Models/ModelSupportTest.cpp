#include "WhisperEngine/Models/ModelSupport.h"

#include "WhisperEngine/WhisperError.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::whisper;
using testing::Contains;
using testing::Not;

namespace {

std::string defaultFor(const std::string& identifier) {
    return ModelSupportConfig::fallback().supportFor(identifier, {}).defaultModel;
}

} // namespace

TEST(ModelSupport, TheFirstRowWithAPrefixWins) {
    EXPECT_EQ(defaultFor("Mac14,5"), "openai_whisper-large-v3-v20240930");
    EXPECT_EQ(defaultFor("MacBookPro18,3"), "openai_whisper-large-v3-v20240930_626MB");
    EXPECT_EQ(defaultFor("iPad13,11"), "openai_whisper-large-v3-v20240930_626MB") << "before the row of \"iPad13,1\"";
    EXPECT_EQ(defaultFor("iPad13,18"), "openai_whisper-base");
    EXPECT_EQ(defaultFor("iPad15,7"), "openai_whisper-base") << "before the row of \"iPad15\"";
    EXPECT_EQ(defaultFor("iPad15,3"), "openai_whisper-large-v3-v20240930");
    EXPECT_EQ(defaultFor("Watch7,2"), "openai_whisper-tiny");
}

TEST(ModelSupport, AnUnknownDeviceHasTheDefault) {
    std::string logged;
    const Logging log(LogLevel::debug, [&](const std::string& line) { logged += line; });
    const ModelSupport& support = ModelSupportConfig::fallback().supportFor("ThinkPad X1", log);
    EXPECT_EQ(logged, "No device support found for ThinkPad X1, using default");
    EXPECT_EQ(support.defaultModel, "openai_whisper-base");
    EXPECT_EQ(support.supported, ModelSupportConfig::fallback().knownModels);
}

TEST(ModelSupport, DisabledAreTheKnownOnesThatAreNotSupported) {
    const ModelSupportConfig& config = ModelSupportConfig::fallback();
    ASSERT_EQ(config.deviceSupports.size(), 6u);
    EXPECT_EQ(config.knownModels.size(), 22u);
    const std::vector<std::size_t> counts{4, 14, 13, 22, 6, 14};
    for (std::size_t row = 0; row < counts.size(); ++row) {
        const ModelSupport& models = config.deviceSupports[row].models;
        EXPECT_EQ(models.supported.size(), counts[row]) << row;
        EXPECT_EQ(models.disabled.size(), 22 - counts[row]) << row;
        EXPECT_THAT(models.supported, Contains(models.defaultModel));
        for (const std::string& disabled : models.disabled)
            EXPECT_THAT(models.supported, Not(Contains(disabled)));
    }
}

TEST(ModelSupport, SurvivesJson) {
    const ModelSupportConfig& original = ModelSupportConfig::fallback();
    const ModelSupportConfig parsed = ModelSupportConfig::parse(original.toJson());
    EXPECT_EQ(parsed.repoName, "whisper-models-fallback");
    EXPECT_EQ(parsed.repoVersion, "0.4");
    EXPECT_EQ(parsed.toJson(), original.toJson());
    EXPECT_EQ(parsed.deviceSupports[0].models.disabled, original.deviceSupports[0].models.disabled);

    for (const char* broken :
         {"", "[]", "{}", "{\"name\": 1}", R"({"name": "n", "version": "1", "device_support": [1]})",
          R"({"name": "n", "version": "1", "device_support": [{"identifiers": [], "models": {"default": "a"}}]})",
          R"({"name": "n", "version": "1", "device_support": [{"identifiers": "Mac", "models": {}}]})"})
        EXPECT_THROW(ModelSupportConfig::parse(broken), WhisperError) << broken;
}
