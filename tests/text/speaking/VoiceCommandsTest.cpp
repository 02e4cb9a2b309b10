#include "text/VoiceCommands.h"

#include "base/Text.h"

#include <ctime>
#include <gtest/gtest.h>
#include <random>

using namespace fenlo;

namespace {

using Actions = std::vector<std::string>;

Settings settingsOf(const char* profession, bool autoCapitalize = true) {
    Settings settings;
    settings.profession = profession;
    settings.autoCapitalize = autoCapitalize;
    return settings;
}

std::string spoken(const std::string& text, const char* profession = "", const char* bundleId = "org.mozilla.firefox") {
    const VoiceCommandResult result = processVoiceCommands(text, bundleId, settingsOf(profession));
    EXPECT_EQ(result.actions, Actions()) << text;
    return result.text;
}

} // namespace

TEST(VoiceCommands, AWholeUtteranceIsAnAction) {
    const std::pair<const char*, const char*> cases[] = {
        {"delete that", "undo"},
        {"Undo that.", "undo"},
        {"\tSELECT ALL...  ", "select_all"},
        {"..Copy that..", "copy_last"},
        {"\u3000Delete That\u00A0", "undo"},
    };
    for (const auto& [text, action] : cases) {
        const VoiceCommandResult result = processVoiceCommands(text, "", {});
        EXPECT_EQ(result.text, "") << text;
        EXPECT_EQ(result.actions, Actions{action}) << text;
    }
    EXPECT_EQ(spoken("please delete that"), "Please delete that");
    EXPECT_EQ(spoken("delete that!"), "Delete that!");
    EXPECT_EQ(spoken("delete that ."), "Delete that.") << "the blank before the full stop is not trimmed again";
    EXPECT_EQ(spoken(" \t "), "");
    EXPECT_EQ(spoken(""), "");
}

TEST(VoiceCommands, SpokenSymbolsAreWrittenAndTheTextIsTidied) {
    const std::pair<const char*, const char*> cases[] = {
        {"First comma second period", "First, second."},
        {"one. New line, two new paragraph three", "One.\nTwo\n\nThree"},
        {"he said open quote hello close quote to her", "He said \"hello\"to her"},
        {"yes dash no ellipsis", "Yes — no."}, // three marks collapse to one
        {"tab", ""},
        {"new line", "\n"},
        {"a period of time", "A. Of time"},
        {"a comma period b", "A, b"}, // the period has become a mark before the comma is replaced
        {"periods, commas and new  line", "Periods, commas and new line"},
        {"मैं COMMA 東京 comma 京都comma", "मैं, 東京, 京都comma"}, // the last comma is part of a word
        {"comma\u0301 👩‍👩‍👧 comma 👍🏽 period", "Comma\u0301 👩‍👩‍👧, 👍🏽."},
        {" \t a  \u00A0\u3000b\t c\rd \n e \t ", "A b\t c d\n E"},
        {"a \t\n , b", "A, B"}, // the line break counts before blanks are removed
        {"wow !!! what ?!?! so..", "Wow! What?!?! So."},
        {"caf\xE9 , ol\xFF", "Caf\uFFFD, ol\uFFFD"},
    };
    for (const auto& [text, written] : cases)
        EXPECT_EQ(spoken(text), written) << text;
}

TEST(VoiceCommands, AProfessionHasHeadings) {
    const struct {
        const char *profession, *text, *written;
    } cases[] = {
        {"doctor", "Plan.", "\n\nPlan:\n"}, // the whole text, with its newlines
        {"doctor", "the plan is rest", "The\n\nPlan:\nIs rest"},
        {"doctor", "Plan. Continue", "\n\nPlan:\nContinue"},
        {"developer", "x arrow y returns", "X -> y ->"},
        {"lawyer", "the seller hereinafter Seller", "The seller (hereinafter referred to as \"\") Seller"},
        {"doctor", "plans", "Plans"},
        {"", "plan", "Plan"},
    };
    for (const auto& [profession, text, written] : cases)
        EXPECT_EQ(spoken(text, profession), written) << profession << ": " << text;
    Settings personal = settingsOf("doctor");
    personal.dictationMode = DictationMode::personal;
    EXPECT_EQ(processVoiceCommands("plan", "", personal).text, "\n\nPlan:\n");
}

TEST(VoiceCommands, DeveloperToolsAndTheSettingKeepTheCase) {
    for (const char* tool : {"com.microsoft.VSCode", "org.neovim.nvim-qt.NeoVim", "dev.warp.Warp"})
        EXPECT_EQ(spoken("git status full stop next", "", tool), "git status. next") << tool;
    EXPECT_EQ(processVoiceCommands("one period two", "", settingsOf("", false)).text, "one. two");
}

TEST(VoiceCommands, SentencesBeginWithACapital) {
    const std::pair<const char*, const char*> cases[] = {
        {"one. two! three? four\nfive\r\nsix", "One. Two! Three? Four\nFive\r\nSix"},
        {"\"yes.\" 3 \"no\"", "\"Yes.\" 3 \"No\""}, // after a quote or digit the next letter begins the sentence
        {"ALL, caps: x. iPhone", "ALL, caps: x. IPhone"},
        {"ßa. éa. e\u0301a. ﬁx", "SSa. Éa. E\u0301a. FIx"},
        {"äpfel. да. मैं. あ. x", "Äpfel. Да. मैं. あ. X"},
        {"👩‍👩‍👧 a", "👩‍👩‍👧 A"},
        {"a.\u0301 b", "A.\u0301 b"}, // another character than the full stop
        {"\xFFx", "\uFFFDX"},
    };
    for (const auto& [text, capitalized] : cases)
        EXPECT_EQ(capitalizeSentences(text), capitalized) << text;
}

// The same patterns without regard to speed.
TEST(VoiceCommands, FastPatternsDoWhatThePlainOnesDo) {
    const std::pair<const char*, const char*> symbols[] = {
        {"new line", "\n"}, {"period", ". "}, {"comma", ", "}, {"dash", " — "}, {"open quote", " \""}, {"tab", "\t"},
    };
    std::vector<std::pair<text::Regex, std::string>> plain;
    for (const auto& [words, symbol] : symbols)
        plain.emplace_back(
            text::Regex("\\s*\\b" + std::string(words) + "\\b[.,!?;:]*\\s*", text::CaseSensitivity::insensitive),
            symbol);
    plain.emplace_back(text::Regex("[^\\S\\n\\t]+"), " ");
    plain.emplace_back(text::Regex(" +\\n"), "\n");
    plain.emplace_back(text::Regex("\\s+([.,!?;:])"), "$1");
    plain.emplace_back(text::Regex("([.!?;:,])\\1+"), "$1");

    const auto pieces = text::split(
        "New Line|period|Period|comma|COMMA|dash|open quote|Tab|new|line|a|ß|é|e\u0301|\u0301|"
        "\u200D|日本|मैं|👩‍👩‍👧|_|.|.|,|,,|!|?|;|:|…|...|\"|-|$1| | | | | |  |\t|\n|\r\n|"
        "\u00A0|\u3000|\u2028|\v",
        '|');
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (auto left = 1 + random() % 24; left > 0; --left)
            text += pieces[random() % pieces.size()];
        std::string expected = text::trimWhitespace(text);
        for (const auto& [pattern, replacement] : plain)
            expected = pattern.replaceAll(expected, replacement);
        ASSERT_EQ(processVoiceCommands(text, "", settingsOf("", false)).text, text::trimWhitespace(expected)) << text;
    }
}

TEST(VoiceCommands, LongRunsTakeLinearTime) {
    constexpr std::size_t size = 100'000;
    const std::clock_t start = std::clock();
    for (const std::string piece : {" ", "\n", "\t \n", "\u3000", ",", "a,", "👍", "e\u0301", "\u0301", "\u200D",
                                    "comma ", "plan ", "new ", "\xFF", "🇩🇪"}) {
        std::string text = "a";
        while (text.size() < size)
            text += piece;
        const std::string written = spoken(text + "b", "doctor");
        EXPECT_EQ(text::repairUtf8(written), written);
    }
    const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    EXPECT_LT(seconds, 60) << "the plain patterns take several minutes";
}
