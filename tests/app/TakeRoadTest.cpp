#include "app/RoadFixture.h"

#include <gmock/gmock.h>

using namespace fenlo;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using Road = fenlo::test::RoadFixture;

TEST_F(Road, SpeechGoesWhereAKeyOrAModelIs) {
    EXPECT_FALSE(roadOf(facts).leadsThrough);
    keys[CloudService::groq] = KeyPlace::keyring;
    EXPECT_FALSE(roadOf(facts).leadsThrough) << "the recogniser does not look there";
    facts.keyring = KeyringUse::forEveryUse;
    EXPECT_EQ(roadOf(facts).speech, "recognised by Groq (key from the keyring)");
    keys[CloudService::groq] = KeyPlace::environment;
    EXPECT_EQ(roadOf(facts).speech, "recognised by Groq (key from GROQ_API_KEY)");

    facts.settings.offlineMode = true;
    EXPECT_THAT(roadOf(facts).speech, HasSubstr("Groq (key from GROQ_API_KEY), although offline mode is on"));
    facts.offlineModel = "openai_whisper-small";
    EXPECT_EQ(roadOf(facts).speech, "recognised on this machine by openai_whisper-small; while that loads by Groq (key "
                                    "from GROQ_API_KEY)");
    keys.clear();
    EXPECT_TRUE(roadOf(facts).leadsThrough);
    EXPECT_THAT(roadOf(facts).speech, HasSubstr("while that loads not at all"));

    facts.offlineModel.clear();
    facts.rescuer = "openai_whisper-small";
    EXPECT_TRUE(roadOf(facts).leadsThrough);
    EXPECT_THAT(roadOf(facts).speech, StartsWith("recognised on this machine by openai_whisper-small, since"));
    facts.settings.sttEngine = SttEngine::grok;
    facts.hasCarriedKey = true;
    EXPECT_THAT(roadOf(facts).speech, StartsWith("recognised by Grok (key of this program)"));
    EXPECT_THAT(roadOf(facts).speech, HasSubstr("; when that fails on this machine by openai_whisper-small"));
    keys[CloudService::grok] = KeyPlace::keyring;
    EXPECT_THAT(roadOf(facts).speech, StartsWith("recognised by Grok (key from the keyring)"));
}

TEST_F(Road, TextGoesToTheModelsThatHaveAKey) {
    EXPECT_EQ(roadOf(facts).text, "pasted as it was heard, since no language model has a key");
    keys = {{CloudService::gemini, KeyPlace::environment}, {CloudService::groq, KeyPlace::keyring}};
    EXPECT_EQ(roadOf(facts).text, "rewritten by Groq (key from the keyring); when that fails it is pasted as it was "
                                  "heard");
    facts.settings.smartRewriteModel = SmartRewriteModel::automatic;
    EXPECT_THAT(roadOf(facts).text,
                StartsWith("rewritten by Gemini (key from GEMINI_API_KEY), else by Groq (key from the"));
    facts.settings.smartRewrite = false;
    EXPECT_THAT(roadOf(facts).text, HasSubstr("\"smart_rewrite\" is off"));
    facts.settings.outputMode = OutputMode::translate;
    EXPECT_THAT(roadOf(facts).text, StartsWith("rewritten by Gemini")) << "translations need a model";
}
