#include "settings/ServiceKeys.h"
#include "settings/Keychain.h"
#include "settings/StoredKeys.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeSecureStore.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

constexpr auto speech = KeyUse::speech;
constexpr auto rewriting = KeyUse::rewriting;

struct ServiceKeysTest : ::testing::Test {
    FakeSecureStore store;
    Keychain keychain{store};
    ServiceKeys::Configuration configuration;
    int asked = 0;
    const RemoteConfiguration remote = [this](std::stop_token) {
        ++asked;
        return configuration;
    };
    ServiceKeys keys{keychain, remote, "carried\n"};
};

} // namespace

TEST_F(ServiceKeysTest, EachUseAsksItsSourcesInTheirOrder) {
    struct Case {
        CloudService service;
        KeyUse use;
        std::vector<std::string> order; // of the sources' values below
    };
    for (const Case& test : {Case{CloudService::groq, speech, {"environment", "remote"}},
                             Case{CloudService::groq, rewriting, {"environment", "remote", "stored"}},
                             Case{CloudService::gemini, rewriting, {"environment", "remote", "stored"}},
                             Case{CloudService::deepgram, speech, {"environment", "stored", "remote"}},
                             Case{CloudService::grok, speech, {"environment", "stored", "remote", "carried"}},
                             Case{CloudService::gemini, speech, {}}, Case{CloudService::deepgram, rewriting, {}}}) {
        const ServiceKey& key = serviceKey(test.service);
        std::optional<EnvironmentVariable> variable;
        variable.emplace(key.variable, "environment\r\n"); // a line end would break the header
        store.values = {{key.account, "stored "}};
        configuration = {{key.remote, "remote\n"}};
        const auto freshFind = [&] {
            ServiceKeys fresh(keychain, remote, "carried\n");
            return fresh.find(test.service, test.use, {});
        };
        for (const std::string& expected : test.order) {
            EXPECT_EQ(freshFind(), expected) << key.name;
            // An empty value counts for nothing.
            if (expected == "environment")
                variable.emplace(key.variable, "");
            else if (expected == "stored")
                store.values[key.account] = "";
            else if (expected == "remote")
                configuration[key.remote] = " ";
        }
        const bool isCarried = test.service == CloudService::grok;
        EXPECT_EQ(freshFind(), isCarried ? std::optional<std::string>("carried") : std::nullopt) << key.name;
    }
}

TEST_F(ServiceKeysTest, AFoundKeyIsKeptAndAMissingOneAskedForAgain) {
    EXPECT_EQ(keys.find(CloudService::groq, speech, {}), std::nullopt);
    configuration["groq_api_key"] = "first";
    EXPECT_FALSE(keys.isKnown(CloudService::groq, speech));
    EXPECT_EQ(keys.find(CloudService::groq, speech, {}), "first");
    configuration["groq_api_key"] = "second";
    EXPECT_EQ(keys.find(CloudService::groq, speech, {}), "first");
    EXPECT_TRUE(keys.isKnown(CloudService::groq, speech));
    EXPECT_EQ(keys.find(CloudService::groq, rewriting, {}), "first") << "both uses share what is in memory";
    EXPECT_EQ(asked, 2);

    EXPECT_FALSE(keys.isKnown(CloudService::grok, speech)) << "other sources would have to be asked first";
    EXPECT_EQ(keys.find(CloudService::grok, speech, {}), "carried");
    EXPECT_TRUE(keys.isKnown(CloudService::grok, speech));
}

TEST_F(ServiceKeysTest, SpeechTakesNoKeyThatRewritingFoundInTheKeyring) {
    store.values["groq_api_key"] = "stored";
    EXPECT_EQ(keys.find(CloudService::groq, rewriting, {}), "stored");
    EXPECT_TRUE(keys.isKnown(CloudService::groq, rewriting));
    EXPECT_FALSE(keys.isKnown(CloudService::groq, speech));
    EXPECT_EQ(keys.find(CloudService::groq, speech, {}), std::nullopt);
    configuration["groq_api_key"] = "remote";
    EXPECT_EQ(keys.find(CloudService::groq, speech, {}), "remote");
    EXPECT_EQ(keys.find(CloudService::groq, rewriting, {}), "stored") << "until the program ends";
}

TEST_F(ServiceKeysTest, AKeyInTheKeyringCountsForEveryUseWhereThatIsWanted) {
    ServiceKeys all(keychain, remote, "carried", KeyringUse::forEveryUse);
    store.values = {{"groq_api_key", "stored"}, {"gemini_api_key", "stored"}};
    configuration["groq_api_key"] = "remote";
    EXPECT_EQ(all.find(CloudService::groq, speech, {}), "remote") << "the service's own sources come first";
    EXPECT_EQ(all.find(CloudService::gemini, speech, {}), std::nullopt) << "it recognises nothing";
    configuration.clear();
    ServiceKeys fresh(keychain, remote, "carried", KeyringUse::forEveryUse);
    EXPECT_EQ(fresh.find(CloudService::groq, rewriting, {}), "stored");
    EXPECT_TRUE(fresh.isKnown(CloudService::groq, speech));
}

TEST_F(ServiceKeysTest, AnotherKeyInTheKeyringCountsAtOnce) {
    const ServiceKey& key = serviceKey("deepgram");
    EXPECT_EQ(storeKey(key, "first", store), std::nullopt);
    EXPECT_EQ(keys.find(CloudService::deepgram, speech, {}), "first");
    EXPECT_EQ(storeKey(key, "second", store), std::nullopt);
    keys.forgetKeyring(CloudService::deepgram);
    EXPECT_EQ(keys.find(CloudService::deepgram, speech, {}), "second");
    EXPECT_EQ(removeKey(key, store), std::nullopt);
    keys.forgetKeyring(CloudService::deepgram);
    EXPECT_EQ(keys.find(CloudService::deepgram, speech, {}), std::nullopt);

    // A look-up that began before the change must not bring the old key back.
    store.values["deepgram_api_key"] = "old";
    store.onLoad = [&] {
        store.onLoad = {};
        keys.forgetKeyring(CloudService::deepgram);
    };
    EXPECT_EQ(keys.find(CloudService::deepgram, speech, {}), "old");
    EXPECT_FALSE(keys.isKnown(CloudService::deepgram, speech));
}

TEST_F(ServiceKeysTest, AnAdoptedKeyTakesThePlaceOfTheOneInMemory) {
    store.values["deepgram_api_key"] = "stored";
    EXPECT_EQ(keys.find(CloudService::deepgram, speech, {}), "stored");
    keys.adopt(CloudService::deepgram, {{"deepgram_api_key", "remote"}});
    EXPECT_EQ(keys.find(CloudService::deepgram, speech, {}), "remote");
    keys.adopt(CloudService::deepgram, {{"deepgram_api_key", ""}});
    EXPECT_EQ(keys.find(CloudService::deepgram, speech, {}), "remote");
    EXPECT_EQ(asked, 0);
}

TEST_F(ServiceKeysTest, AMissingKeyIsToldWithItsRemedy) {
    EXPECT_EQ(describeMissingKey(CloudService::groq, speech),
              "no key for the speech service Groq; set the environment variable GROQ_API_KEY");
    EXPECT_EQ(describeMissingKey(CloudService::grok, speech),
              "no key for the speech service Grok; set the environment variable XAI_API_KEY, or run `fenlo keys set "
              "xai`");
    EXPECT_EQ(describeMissingKey(CloudService::gemini, rewriting),
              "no key for the language models of Gemini; set the environment variable GEMINI_API_KEY");
    EXPECT_THROW(serviceKey("openai"), std::runtime_error);
}

TEST_F(ServiceKeysTest, ThePlaceOfAKeyIsThatOfTheUsersChoice) {
    const ServiceKey& key = serviceKey("xai");
    EXPECT_EQ(placeOf(key, store), KeyPlace::nowhere);
    store.values["xai_api_key"] = "stored";
    EXPECT_EQ(placeOf(key, store), KeyPlace::keyring);
    store.isAvailable = false;
    EXPECT_EQ(placeOf(key, store), KeyPlace::keyringSilent);
    const EnvironmentVariable variable("XAI_API_KEY", "k");
    EXPECT_EQ(placeOf(key, store), KeyPlace::environment);
}
