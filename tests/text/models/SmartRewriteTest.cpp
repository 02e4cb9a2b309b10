#include "text/models/ModelsFixture.h"

#include <cstdlib>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

class SmartRewriteTest : public ModelsFixture {
protected:
    ~SmartRewriteTest() override {
        ::unsetenv("GEMINI_API_KEY");
        ::unsetenv("GROQ_API_KEY");
    }

    Rewrite rewrite(const std::string& text, const std::vector<std::string>& uncertainParts = {}) {
        return models.rewrite(text, {"Mail", "mail", "", "", ""}, "en", uncertainParts, stop.get_token());
    }

    std::stop_source stop;
};

} // namespace

TEST_F(SmartRewriteTest, EveryFaultHasItsFallBackAndItsRetry) {
    struct Case {
        std::string model;
        int geminiDoes, groqDoes;
        std::string calls;
        int failedAttempts; // 0 when there was an answer
    };
    for (const Case& test : {
             Case{"auto", ok, ok, "G", 0},     {"auto", 401, ok, "GQ", 0},
             {"auto", garbage, ok, "GQ", 0},   {"auto", cancelled, ok, "G", 1},
             {"auto", 503, 503, "GQGQ", 2},    {"auto", 503, 401, "GQ", 1},
             {"auto", 401, 503, "GQGQ", 2},    {"any other", 429, timeout, "GQGQ", 2},
             {"gemini", 400, ok, "G", 1},      {"gemini", 429, ok, "GG", 2},
             {"gemini", 499, ok, "G", 1},      {"gemini", 500, ok, "GG", 2},
             {"gemini", timeout, ok, "GG", 2}, {"gemini", tooLarge, ok, "GG", 2},
             {"gemini", garbage, ok, "G", 1},  {"gemini", wrongShape, ok, "G", 1},
             {"groq", ok, ok, "Q", 0},         {"groq", ok, 401, "Q", 1},
             {"groq", ok, timeout, "QQ", 2},   {"groq", ok, cancelled, "Q", 1},
         }) {
        SCOPED_TRACE(test.model + " " + std::to_string(test.geminiDoes) + " " + std::to_string(test.groqDoes));
        choose(test.model);
        geminiDoes = test.geminiDoes;
        groqDoes = test.groqDoes;
        calls.clear();
        clock.slept = 0;
        const Rewrite result = rewrite("raw text");
        EXPECT_EQ(calls, test.calls);
        EXPECT_EQ(result.wasRewritten, test.failedAttempts == 0);
        EXPECT_EQ(result.text, test.failedAttempts == 0 ? "Polished." : "raw text");
        EXPECT_EQ(clock.slept, test.failedAttempts == 2 ? 0.3 : 0);
    }
    for (const std::string& line : log.lines())
        EXPECT_THAT(line, Not(HasSubstr("SECRET"))) << "a key is never told";
}

TEST_F(SmartRewriteTest, LinesOfTheLog) {
    const auto all = std::exchange(configuration, {});
    choose("gemini");
    rewrite("raw");
    configuration = all;
    choose("auto");
    geminiDoes = groqDoes = 503;
    clock.onSleep = [&](double) { groqDoes = ok; };
    rewrite("raw");
    clock.onSleep = {};
    choose("groq", "translate");
    answer = "Result: I cannot help with that " + std::string(100, 'x');
    rewrite("raw");
    answer = "Since you ask, I will.\nYes.";
    rewrite("raw");
    choose("groq", "transliterate");
    rewrite("raw");
    const std::string gemini = "[Fenlo] Gemini failed (Gemini API error 503: odd <key>), falling back to Groq";
    EXPECT_THAT(
        log.lines(),
        ElementsAre(
            "[Fenlo] ERROR: SmartRewrite failed after 1 attempt(s): no key for the language models of Gemini; set the "
            "environment variable GEMINI_API_KEY — returning raw",
            gemini, "[Fenlo] SmartRewrite: attempt 1 failed (Groq API error 503: odd <key>), retrying...", gemini,
            "[Fenlo] SmartRewrite: 0.83s — 'raw' → 'Polished.'",
            "[Fenlo] LLM refused, falling back to raw text: 'I cannot help with that " + std::string(80 - 24, 'x') +
                "'",
            "[Fenlo] Stripped LLM reasoning, kept last line: 'Yes.'", "[Fenlo] Translate: 0.42s — 'raw' → 'Yes.'",
            "[Fenlo] Stripped LLM reasoning, kept last line: 'Yes.'", "[Fenlo] Transliterate: 0.42s — 'raw' → 'Yes.'"));
}

TEST_F(SmartRewriteTest, AStopEndsThePauseBeforeTheRetry) {
    choose("groq");
    groqDoes = 503;
    const auto answerOnce = http.onSend;
    http.onSend = [&](const HttpRequest& request) {
        stop.request_stop();
        return answerOnce(request);
    };
    EXPECT_FALSE(rewrite("raw").wasRewritten);
    EXPECT_EQ(calls, "Q");
    EXPECT_EQ(clock.slept, 0);
}

TEST_F(SmartRewriteTest, WithoutAKeyNothingIsSent) {
    configuration.erase("groq_api_key");
    choose("groq");
    EXPECT_FALSE(rewrite("raw").wasRewritten) << "the other service's key is of no use";
    configuration = {{"groq_api_key", "SECRET-Q"}};
    choose("gemini");
    EXPECT_FALSE(rewrite("raw").wasRewritten);
    EXPECT_EQ(calls, "");
    choose("auto");
    EXPECT_TRUE(rewrite("raw").wasRewritten) << "a look-up that failed is repeated";
    EXPECT_EQ(calls, "Q");
}

TEST_F(SmartRewriteTest, BlankTextSendsNothing) {
    for (const char* text : {"", " \t\u00A0"})
        EXPECT_EQ(rewrite(text).text, text);
    EXPECT_TRUE(http.requests.empty());
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(rewrite("\n").wasRewritten) << "a newline does not count as blank";
}

TEST_F(SmartRewriteTest, TheModelIsToldWhatTheRecogniserDoubts) {
    const std::string note =
        "\nNOTE: The speech recognition was uncertain about these parts: \"kay nine\", \"colour\". ONLY correct them "
        "if "
        "they are clearly garbled or not real words. If they ARE real English words, keep them exactly as-is.";
    for (const char* mode : {"transcribe", "translate", "transliterate"}) {
        choose("groq", mode);
        rewrite("my words");
        const std::string plain = groqPrompt("system");
        rewrite("my words", {"kay nine", "colour"});
        EXPECT_EQ(groqPrompt("system"), plain + note);
        EXPECT_THAT(groqPrompt("user"), HasSubstr("my words"));
    }
}

TEST_F(SmartRewriteTest, AnAnswerIsCleanedAndARefusalIgnored) {
    answer = "Output: I cannot come to you";
    EXPECT_EQ(rewrite("i can not come").text, "I cannot come to you");
    answer = "Result: I cannot help with that " + std::string(100, 'x');
    const Rewrite refused = rewrite(" hello");
    EXPECT_EQ(refused.text, " hello");
    EXPECT_FALSE(refused.wasRewritten);
    answer = "";
    EXPECT_TRUE(rewrite("hello").wasRewritten) << "an empty answer is accepted";
}

TEST_F(SmartRewriteTest, TheHostOfTheNextCallIsWarmed) {
    const std::string gemini = deployment.geminiHost, groq = deployment.groqHost;
    struct Case {
        std::string model, outputMode;
        bool smartRewrite, knowsGemini, knowsGroq;
        std::vector<std::string> warmed;
    };
    for (const Case& test :
         {Case{"auto", "transcribe", true, true, true, {gemini}}, Case{"auto", "transcribe", true, false, true, {groq}},
          Case{"groq", "transcribe", true, true, false, {}}, Case{"gemini", "transcribe", false, true, true, {}},
          Case{"gemini", "translate", false, true, true, {gemini}}}) {
        choose(test.model, test.outputMode);
        config.update([&](Settings& settings) { settings.smartRewrite = test.smartRewrite; });
        ::setenv("GEMINI_API_KEY", test.knowsGemini ? "k" : "", 1);
        ::setenv("GROQ_API_KEY", test.knowsGroq ? "k" : "", 1);
        http.warmed.clear();
        models.warmConnection();
        EXPECT_EQ(http.warmed, test.warmed) << test.model << ' ' << test.outputMode;
    }
    EXPECT_EQ(asked, 0);

    choose("groq", "translate");
    ::unsetenv("GROQ_API_KEY");
    models.complete("s", "u", {});
    http.warmed.clear();
    models.warmConnection();
    EXPECT_THAT(http.warmed, ElementsAre(groq)) << "a key that was used is known";
}
