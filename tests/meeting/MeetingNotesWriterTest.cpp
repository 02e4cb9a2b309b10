#include "meeting/MeetingNotesWriter.h"
#include "base/Files.h"
#include "base/Json.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "settings/Keychain.h"
#include "support/EnvironmentVariable.h"
#include "support/FakeHttpClient.h"
#include "support/FakeSecureStore.h"
#include "support/LogCapture.h"
#include "support/LoopbackServices.h"
#include "support/VirtualTime.h"
#include "support/WaitUntil.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

constexpr const char* keptLine = ". The transcript is kept; try again.";

/// The writer with stand-ins for both services and a key for each.
class MeetingNotesWriterTest : public ::testing::Test {
protected:
    MeetingNotesWriterTest() {
        for (const char* service : {"gemini", "groq"})
            services.behave(service, {.text = std::string("TITLE: By ") + service + "\nSUMMARY:\nWe met."});
    }

    /// Who was asked, in order.
    std::vector<std::string> asked() const {
        std::vector<std::string> names;
        for (const auto& request : services.requests())
            names.push_back(request.service);
        return names;
    }
    nlohmann::json body(std::size_t index) const { return parseJson(services.requests().at(index).wire.body); }
    Deployment hosts() const {
        Deployment both;
        both.groqHost = both.geminiHost = services.server().url();
        return both;
    }
    MeetingNotesWriter::Result summarize() { return writer.summarize(meeting, stop.get_token()); }

    const EnvironmentVariable noGeminiKey{"GEMINI_API_KEY", nullptr}, noGroqKey{"GROQ_API_KEY", nullptr};
    LoopbackServices services;
    const Deployment deployment = hosts();
    CurlHttpClient http;
    VirtualClock clock;
    Config config{files::temporaryFile("config_", ".json"), clock};
    FakeSecureStore store;
    Keychain keychain{store};
    std::map<std::string, std::string> configuration{{"gemini_api_key", "SECRET-G"}, {"groq_api_key", "SECRET-Q"}};
    ServiceKeys keys{keychain, [this](std::stop_token) { return configuration; }, ""};
    MeetingNotesWriter writer{{config, deployment, http, keys}};
    const MeetingNotesWriter::Meeting meeting{"[0:01] Ann: Hello.", "typed", MeetingTemplate::standup, "The subject"};
    std::stop_source stop;
    LogCapture log;
};

} // namespace

TEST_F(MeetingNotesWriterTest, GeminiIsAskedFirst) {
    EXPECT_EQ(summarize().notes->title, "By gemini");
    services.behave("gemini", {.text = "SUMMARY:\r\nOne\u001B[31m line\r\n"});
    const auto past = writer.summarizePast("the whole file", MeetingTemplate::interview, "Past", {});
    EXPECT_EQ(past.notes->title, "Past");
    EXPECT_EQ(past.notes->summary, "One line") << "without what a terminal would obey";
    const auto refined = writer.refine({parseNotes("", "Old"), "shorter", "all that was said", "The subject"}, {});
    EXPECT_EQ(refined.notes->title, "The subject");
    services.behave("gemini", {.text = "## Summary\nShort."});
    EXPECT_EQ(writer.basicSummary("what was said", {}), (BasicSummary{"Short.", {}, {}}));

    EXPECT_THAT(asked(), ElementsAre("gemini", "gemini", "gemini", "gemini"));
    const auto requests = services.requests();
    for (std::size_t i = 0; i < requests.size(); ++i)
        EXPECT_EQ(body(i)["generationConfig"], parseJson(R"({"temperature": 0.3, "maxOutputTokens": 2048})"));
    EXPECT_THAT(requests[0].system, HasSubstr("Keep it brief. For each speaker"));
    EXPECT_THAT(requests[0].user, HasSubstr("\ntyped\n"));
    EXPECT_EQ(requests[1].user, "the whole file");
    EXPECT_THAT(requests[1].system, HasSubstr("Summarize questions asked"));
    EXPECT_THAT(requests[2].user, EndsWith("User's instruction: shorter"));
    EXPECT_EQ(requests[3].user, "what was said");
    EXPECT_THAT(log.lines(), ElementsAre("[Fenlo] Enhanced meeting notes generated: By gemini",
                                         "[Fenlo] Enhanced notes for past meeting: Past",
                                         "[Fenlo] Refined meeting notes: 'Old' → 'The subject'"));
}

TEST_F(MeetingNotesWriterTest, GroqFollowsWithoutAWord) {
    services.behave("gemini", {.mode = "500"});
    EXPECT_EQ(summarize().notes->title, "By groq");
    EXPECT_THAT(asked(), ElementsAre("gemini", "groq"));
    EXPECT_EQ(body(1)["max_tokens"], 2048);
    EXPECT_EQ(body(1)["temperature"], 0.3);
    EXPECT_THAT(log.lines(), ElementsAre("[Fenlo] Enhanced meeting notes generated: By groq"));

    ServiceKeys onlyGroq(
        keychain,
        [](std::stop_token) {
            return ServiceKeys::Configuration{{"groq_api_key", "Q"}};
        },
        "");
    MeetingNotesWriter second({config, deployment, http, onlyGroq});
    EXPECT_EQ(second.summarize(meeting, {}).notes->title, "By groq");
    EXPECT_THAT(asked(), ElementsAre("gemini", "groq", "groq"));
}

TEST_F(MeetingNotesWriterTest, AFailureIsToldInOneSentence) {
    struct Case {
        const char *gemini, *groq;
        std::string fault;
    };
    for (const auto& [gemini, groq, fault] : {
             Case{"401", "429", "Gemini refused the key (401), and Groq has had enough requests for now (429)"},
             Case{"html", "close", "Gemini sent no answer that can be read, and Groq could not be reached"},
             Case{"shape", "400",
                  "Gemini sent no answer that can be read, and Groq did not take the transcript, which may be too long "
                  "for it (400)"},
             Case{"503", "500", "Gemini has a fault (503), and Groq has a fault (500)"},
         }) {
        services.behave("gemini", {.mode = gemini});
        services.behave("groq", {.mode = groq});
        const auto result = summarize();
        EXPECT_FALSE(result.notes);
        EXPECT_EQ(result.fault, fault + keptLine);
    }
    EXPECT_FALSE(writer.summarizePast("file", {}, "", {}).notes);
    EXPECT_FALSE(writer.refine({}, {}).notes);
    EXPECT_FALSE(writer.basicSummary("said", {}));
    const std::string failed = "[Fenlo] ERROR: Enhanced summarize failed — no API keys or both APIs failed";
    EXPECT_THAT(log.lines(),
                ElementsAre(failed, failed, failed, failed, "[Fenlo] ERROR: Enhanced summarize for past meeting failed",
                            "[Fenlo] ERROR: Refine summary failed",
                            "[Fenlo] ERROR: Meeting summary failed: no API keys or both APIs failed"));
}

TEST_F(MeetingNotesWriterTest, AWrongKeyIsNoTranscriptThatIsTooLong) {
    FakeHttpClient refusing;
    refusing.onSend = [](const HttpRequest&) {
        return HttpResponse{400, {}, R"({"error": {"code": 400, "details": [{"reason": "API_KEY_INVALID"}]}})"};
    };
    MeetingNotesWriter refused({config, deployment, refusing, keys});
    EXPECT_THAT(refused.summarize(meeting, {}).fault, HasSubstr("Gemini refused the key (400)"));
}

TEST_F(MeetingNotesWriterTest, AnAnswerWithoutNotesTakesNoOnesPlace) {
    services.behave("gemini", {.text = "TITLE: Sale\nI am sorry."});
    const auto result = writer.refine({parseNotes("", "Old"), "shorter", "", ""}, {});
    EXPECT_FALSE(result.notes);
    EXPECT_THAT(result.fault, HasSubstr("try again"));
    services.behave("gemini", {.text = "## Summary\nWe met."});
    EXPECT_EQ(summarize().notes->summary, "We met.") << "Markdown is understood where nothing else is";
}

TEST_F(MeetingNotesWriterTest, WithoutKeysNobodyIsAsked) {
    configuration.clear();
    EXPECT_THAT(summarize().fault, HasSubstr("a key for Gemini or Groq"));
    EXPECT_EQ(summarize().hindrance, NotesHindrance::noKey);
    EXPECT_EQ(writer.hindrance({}), NotesHindrance::noKey);
    EXPECT_THAT(asked(), IsEmpty());
    store.values["groq_api_key"] = "Q";
    EXPECT_EQ(writer.hindrance({}), NotesHindrance::none);
    EXPECT_EQ(summarize().notes->title, "By groq") << "a key that is added later is found";
}

TEST_F(MeetingNotesWriterTest, OfflineModeKeepsTheMeetingHere) {
    config.update([](Settings& settings) { settings.offlineMode = true; });
    EXPECT_THAT(summarize().fault, HasSubstr("Offline mode is on"));
    EXPECT_EQ(summarize().hindrance, NotesHindrance::offlineMode);
    EXPECT_EQ(writer.hindrance({}), NotesHindrance::offlineMode);
    EXPECT_FALSE(writer.basicSummary("said", {}));
    EXPECT_THAT(asked(), IsEmpty());
    EXPECT_THAT(log.lines(), Not(::testing::Contains(HasSubstr("ERROR"))));
    MeetingNotesWriter byServices({config, deployment, http, keys}, OfflineNotes::byServices);
    EXPECT_TRUE(byServices.summarize(meeting, {}).notes) << "unless that is asked for";
}

TEST_F(MeetingNotesWriterTest, AStopEndsTheWaitAndAsksNobodyElse) {
    services.behave("gemini", {.mode = "hang"});
    std::jthread stopper([this] {
        waitUntil(10, [this] { return !services.requests().empty(); });
        stop.request_stop();
    });
    const auto result = summarize();
    EXPECT_FALSE(result.notes);
    EXPECT_THAT(result.fault, IsEmpty());
    EXPECT_THAT(asked(), ElementsAre("gemini"));
    EXPECT_THAT(log.lines(), IsEmpty());
}
