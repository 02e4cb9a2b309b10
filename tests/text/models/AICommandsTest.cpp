#include "text/AICommands.h"
#include "text/models/ModelsFixture.h"

using namespace fenlo;
using namespace fenlo::test;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace {

class AICommandsTest : public ModelsFixture {
protected:
    AICommandsTest() { choose("groq"); }

    std::optional<std::string> history = "[1] today:\nThe price is 5.\n\n";
    std::size_t limit = 0;
    AICommands commands{models,
                        [this](const std::string&, std::size_t count) {
                            limit = count;
                            return history;
                        },
                        clock};
};

} // namespace

TEST_F(AICommandsTest, ACommandWorksOnWhatTheUserSees) {
    struct Case {
        FocusContext context;
        std::string app, tone, message;
    };
    const std::string field = "Text in the field:\n\"\"\"\nOld\n\"\"\"\n\n";
    for (const Case& test : {
             Case{{"Slack", "com.Slack", "Old", "Sel", "Clip"},
                  "Slack",
                  "casual and conversational — like a quick chat message",
                  field + "Selected text:\n\"\"\"\nSel\n\"\"\"\n\n"},
             Case{{"Mail", "mail", "Old", "", "Clip"},
                  "Mail",
                  "professional and well-structured",
                  field + "Clipboard (may be relevant context):\n\"\"\"\nClip\n\"\"\"\n\n"},
             Case{{"", "dev.warp.Warp", "", "", ""}, "an app", "natural and clear", ""},
         }) {
        EXPECT_EQ(commands.runAICommand("Make it so", test.context, {}), "Polished.");
        EXPECT_EQ(groqPrompt("user"), test.message + "Voice command: Make it so");
        const std::string system = groqPrompt("system");
        EXPECT_THAT(system, StartsWith("You are an AI assistant integrated into a voice-to-text app on macOS. The user "
                                       "gave a voice command while working in " +
                                       test.app + ". Execute the command and return"));
        EXPECT_THAT(system, HasSubstr("Rules: - The tone should be " + test.tone +
                                      " - Follow the user's instruction exactly - NEVER change"));
        EXPECT_THAT(system, EndsWith("leave it blank or use \"[Name]\" - Return ONLY the final text, nothing else"));
    }
}

TEST_F(AICommandsTest, AQuestionAboutThePastIsAnsweredFromTheHistory) {
    answer = std::string(79, 'x') + "e\u0301 and more";
    EXPECT_EQ(commands.runAICommand("Rewrite THAT email", {"Mail", "mail", "Old", "Sel", ""}, {}), answer);
    EXPECT_EQ(limit, 30u);
    EXPECT_EQ(groqPrompt("user"), "User asked: Rewrite THAT email\n\n[1] today:\nThe price is 5.\n\n");
    EXPECT_THAT(groqPrompt("system"),
                StartsWith("You are a memory assistant inside a voice-to-text app called Fenlo."));
}

TEST_F(AICommandsTest, AnEmptyHistoryAsksNoModel) {
    history.reset();
    EXPECT_EQ(commands.runAICommand("what was that email about pricing", {}, {}), std::nullopt);
    EXPECT_TRUE(http.requests.empty());
}

TEST_F(AICommandsTest, AFaultIsNotRetriedAndEveryAnswerStaysAsItCame) {
    commands.runAICommand("Make it so", {}, {});
    commands.runAICommand("What was it", {}, {});
    groqDoes = timeout;
    EXPECT_EQ(commands.runAICommand("Make it so", {}, {}), std::nullopt);
    EXPECT_EQ(commands.runAICommand("What was it", {}, {}), std::nullopt);
    EXPECT_EQ(calls, "QQQQ");
    EXPECT_THAT(log.lines(), ::testing::ElementsAre("[Fenlo] AICommand: 0.42s — 'Make it so' → 'Polished.'",
                                                    "[Fenlo] MemoryRecall: 'What was it' → 'Polished.'",
                                                    "[Fenlo] ERROR: AICommand failed: no answer",
                                                    "[Fenlo] ERROR: MemoryRecall failed: no answer"));
    choose("auto");
    geminiDoes = 500;
    groqDoes = ok;
    answer = "\"Output: as it came\"";
    EXPECT_EQ(commands.runAICommand("Make it so", {}, {}), answer)
        << "the other service is asked, and its answer not cleaned";
}
