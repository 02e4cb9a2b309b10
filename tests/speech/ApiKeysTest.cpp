#include "speech/ApiKeys.h"
#include "support/FakeSecureStore.h"

#include <cstdlib>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

class ApiKeysTest : public ::testing::Test {
protected:
    ~ApiKeysTest() override {
        for (const char* name : {"GROQ_API_KEY", "DEEPGRAM_API_KEY", "XAI_API_KEY"})
            ::unsetenv(name);
    }

    FakeSecureStore store;
    Keychain keychain{store};
    std::map<std::string, std::string> configuration;
    int asked = 0;
    ApiKeys keys{keychain,
                 [this](std::stop_token) {
                     ++asked;
                     return configuration;
                 },
                 "carried\n"};
};

} // namespace

TEST_F(ApiKeysTest, EachSourceIsTriedInItsOrder) {
    struct Case {
        SpeechService service;
        const char* environment;
        const char* name; // in the secure store and the remote configuration
        bool asksTheStore;
    };
    for (const Case& test : {Case{SpeechService::groq, "GROQ_API_KEY", "groq_api_key", false},
                             Case{SpeechService::deepgram, "DEEPGRAM_API_KEY", "deepgram_api_key", true},
                             Case{SpeechService::grok, "XAI_API_KEY", "xai_api_key", true}}) {
        const auto freshFind = [&] {
            ApiKeys fresh(
                keychain, [this](std::stop_token) { return configuration; },
                test.service == SpeechService::grok ? "" : "carried for another");
            return fresh.find(test.service, {});
        };
        EXPECT_EQ(freshFind(), std::nullopt);
        configuration[test.name] = "remote";
        EXPECT_EQ(freshFind(), "remote");
        store.values[test.name] = "";
        EXPECT_EQ(freshFind(), "remote") << "an empty value is none";
        store.values[test.name] = "stored";
        EXPECT_EQ(freshFind(), test.asksTheStore ? "stored" : "remote");
        ::setenv(test.environment, "", 1);
        EXPECT_NE(freshFind(), "");
        ::setenv(test.environment, "from environment\r\n", 1);
        EXPECT_EQ(freshFind(), "from environment") << "a line end would break the header";
    }
}

TEST_F(ApiKeysTest, AFoundKeyIsKeptAndAMissingOneAskedForAgain) {
    EXPECT_EQ(keys.find(SpeechService::groq, {}), std::nullopt);
    configuration["groq_api_key"] = "first";
    EXPECT_FALSE(keys.isKnown(SpeechService::groq));
    EXPECT_EQ(keys.find(SpeechService::groq, {}), "first");
    configuration["groq_api_key"] = "second";
    EXPECT_EQ(keys.find(SpeechService::groq, {}), "first");
    EXPECT_TRUE(keys.isKnown(SpeechService::groq));
    EXPECT_EQ(asked, 2);

    EXPECT_FALSE(keys.isKnown(SpeechService::grok)) << "other sources would have to be asked first";
    EXPECT_EQ(keys.find(SpeechService::grok, {}), "carried");
    EXPECT_TRUE(keys.isKnown(SpeechService::grok));
}

TEST_F(ApiKeysTest, SetUpTakesTheProviderAndTheDeepgramKey) {
    EXPECT_EQ(keys.transcriptionProvider(), "groq");
    configuration = {{"transcription_provider", "deepgram"}, {"deepgram_api_key", "d"}};
    keys.setup({});
    EXPECT_EQ(keys.transcriptionProvider(), "deepgram");
    EXPECT_EQ(keys.find(SpeechService::deepgram, {}), "d");
    EXPECT_EQ(asked, 1);

    configuration = {{"deepgram_api_key", ""}};
    keys.setup({});
    EXPECT_EQ(keys.transcriptionProvider(), "deepgram");
    EXPECT_EQ(keys.find(SpeechService::deepgram, {}), "d");
}

TEST_F(ApiKeysTest, LookingForTheDeepgramKeyRefreshesTheProvider) {
    configuration = {{"transcription_provider", "groq-2"}};
    keys.find(SpeechService::groq, {});
    EXPECT_EQ(keys.transcriptionProvider(), "groq");
    keys.find(SpeechService::deepgram, {});
    EXPECT_EQ(keys.transcriptionProvider(), "groq-2");
}
