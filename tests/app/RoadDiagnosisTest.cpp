#include "app/RoadDiagnosis.h"
#include "app/RoadFixture.h"

#include <gmock/gmock.h>

using namespace fenlo;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

using State = Diagnosis::State;

struct RoadDiagnosis : fenlo::test::RoadFixture {
    /// The finding on one subject; one with an empty subject when nothing is said of it.
    Diagnosis finding(const std::string& subject) const {
        std::vector<Diagnosis> findings;
        diagnoseRoad(findings, facts);
        for (const Diagnosis& found : findings)
            if (found.subject == subject)
                return found;
        return {};
    }
    Diagnosis recogniser() const { return finding("recogniser key"); }
    Diagnosis rewriting() const { return finding("rewriting key"); }
};

} // namespace

TEST_F(RoadDiagnosis, TheKeyOfTheServiceThatRecognisesIsLookedFor) {
    struct Case {
        SttEngine engine;
        const char* provider;
        const char* variable;
        CloudService service;
        const char* remedyEnd;
    };
    for (const Case& test :
         {Case{SttEngine::byProvider, "groq", "GROQ_API_KEY", CloudService::groq, "before Fenlo starts"},
          Case{SttEngine::byProvider, "deepgram", "DEEPGRAM_API_KEY", CloudService::deepgram,
               ", or `fenlo keys set deepgram`"},
          Case{SttEngine::grok, "deepgram", "XAI_API_KEY", CloudService::grok, ", or `fenlo keys set xai`"}}) {
        facts.settings.sttEngine = test.engine;
        facts.provider = test.provider;
        keys.clear();
        EXPECT_EQ(recogniser().finding, test.variable + std::string(" is not set"));
        EXPECT_EQ(recogniser().state, State::broken);
        EXPECT_THAT(recogniser().remedy, HasSubstr(test.variable));
        EXPECT_THAT(recogniser().remedy, EndsWith(test.remedyEnd));
        EXPECT_EQ(finding("road of a take").remedy, "see \"recogniser key\" above");

        keys[test.service] = KeyPlace::environment;
        EXPECT_EQ(recogniser().finding, "key from " + std::string(test.variable));
        EXPECT_EQ(recogniser().state, State::works);
        keys[test.service] = KeyPlace::keyring;
        const bool isGroq = test.service == CloudService::groq; // whose recogniser does not look there
        EXPECT_EQ(recogniser().state, isGroq ? State::broken : State::works);
    }
    facts.rescuer = "openai_whisper-small";
    keys.clear();
    EXPECT_EQ(recogniser().state, State::limited) << "the engine on this machine takes over";
}

TEST_F(RoadDiagnosis, TheKeysOfTheModelsThatRewriteAreLookedFor) {
    facts.settings.smartRewriteModel = SmartRewriteModel::automatic;
    EXPECT_EQ(rewriting().state, State::limited);
    EXPECT_THAT(rewriting().finding, HasSubstr("no key of gemini or groq: "));
    EXPECT_EQ(rewriting().remedy, "export GROQ_API_KEY=… before Fenlo starts, or `fenlo keys set groq`, or set "
                                  "\"smart_rewrite\": false");
    keys[CloudService::groq] = KeyPlace::keyring;
    EXPECT_EQ(rewriting().finding, "key from the keyring");
    facts.settings.smartRewriteModel = SmartRewriteModel::gemini;
    EXPECT_THAT(rewriting().finding, HasSubstr("no key of gemini: ")) << "the other service's key is of no use";
    facts.settings.smartRewrite = false;
    EXPECT_EQ(rewriting().subject, "") << "nothing is rewritten";
    facts.settings.outputMode = OutputMode::translate;
    EXPECT_EQ(rewriting().state, State::limited) << "a translation needs a model all the same";
}
