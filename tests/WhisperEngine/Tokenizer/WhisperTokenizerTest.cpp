#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"

#include "WhisperEngine/Tokenizer/Languages.h"
#include "WhisperEngine/support/Tokens.h"
#include "base/Json.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::whisper;
using fenlo::whisper::test::tokenizer;
using nlohmann::json;
using testing::ElementsAre;
using testing::Pair;

namespace {

std::vector<std::string> wordsOf(const std::vector<int>& tokens, const std::string& language) {
    std::vector<std::string> words;
    std::vector<int> all;
    for (const auto& [word, wordTokens] : tokenizer().splitToWordTokens(tokens, language)) {
        words.push_back(word);
        all.insert(all.end(), wordTokens.begin(), wordTokens.end());
    }
    std::vector<int> textTokens = tokens;
    std::erase_if(textTokens, [](int token) { return token >= 50256; });
    EXPECT_EQ(all, textTokens); // no token is lost, whatever the words
    return words;
}

std::vector<std::string> wordsOf(const char* text, const std::string& language) {
    return wordsOf(tokenizer().encode(text), language);
}

/// A file with the special tokens of a published vocabulary: `languageCount` languages, the end token at `id`.
json fileOf(int id, std::size_t languageCount, bool listsTimes) {
    json file = {{"added_tokens", json::array()},
                 {"pre_tokenizer", {{"type", "ByteLevel"}, {"add_prefix_space", false}}},
                 {"decoder", {{"type", "ByteLevel"}}},
                 {"model", {{"type", "BPE"}, {"vocab", {{"a", 0}, {"\u0120", 7}}}, {"merges", json::array()}}}};
    const auto add = [&](const std::string& name, bool isSpecial = true) {
        file["added_tokens"].push_back({{"id", id++}, {"content", "<|" + name + "|>"}, {"special", isSpecial}});
    };
    add("endoftext");
    add("startoftranscript");
    for (const Language& language : languages().first(languageCount))
        add(std::string(language.code));
    for (const char* name : {"translate", "transcribe", "startoflm", "startofprev", "nospeech", "notimestamps"})
        add(name);
    for (int hundredths = 0; listsTimes && hundredths <= 3000; hundredths += 2)
        add(fmt::format("{:.2f}", hundredths / 100.0), false);
    return file;
}

WhisperTokenizer tokenizerOf(const json& file) {
    return WhisperTokenizer(hub::Tokenizer::parse(writeJson(file), "other.json"));
}

} // namespace

TEST(WhisperTokenizer, VocabulariesOfEveryShape_HaveTheirOwnTokensWithAndWithoutTimes) {
    const struct {
        int size;
        int endToken;
        std::size_t languageCount;
    } shapes[] = {{51864, 50256, 99}, {51865, 50257, 99}, {51866, 50257, 100}};
    for (const auto& [size, endToken, languageCount] : shapes)
        for (const bool listsTimes : {true, false}) {
            SCOPED_TRACE(std::to_string(size) + (listsTimes ? " with times" : " without times"));
            const WhisperTokenizer it = tokenizerOf(fileOf(endToken, languageCount, listsTimes));
            const SpecialTokens& special = it.specialTokens();
            const int firstTask = endToken + 2 + static_cast<int>(languageCount);
            EXPECT_EQ(special.specialTokenBegin, endToken);
            EXPECT_EQ(special.startOfTranscriptToken, endToken + 1);
            EXPECT_EQ(special.englishToken, endToken + 2);
            EXPECT_EQ(special.translateToken, firstTask);
            EXPECT_EQ(special.transcribeToken, firstTask + 1);
            EXPECT_EQ(special.startOfPreviousToken, firstTask + 3);
            EXPECT_EQ(special.noSpeechToken, firstTask + 4);
            EXPECT_EQ(special.noTimestampsToken, firstTask + 5);
            EXPECT_EQ(special.timeTokenBegin, size - 1501);
            EXPECT_EQ(it.allLanguageTokens().size(), languageCount);
            const std::vector<int> timed{size - 1501, 0, 7, size - 1500 + 74, size - 1, endToken};
            EXPECT_EQ(it.decode(timed), "<|0.00|>a <|1.50|><|30.00|><|endoftext|>");
            EXPECT_EQ(it.decode(timed, true), "a ");
            EXPECT_EQ(it.decode(std::vector{size, 0}), "a"); // no time of thirty seconds
        }
}

TEST(WhisperTokenizer, LiteralThatIsMissing_HasNoIdOfAnotherVocabulary) {
    json file = fileOf(10, 0, false);
    json& tokens = file["added_tokens"];
    tokens = {tokens[0], tokens[1], {{"id", 12}, {"content", "<|yue|>"}}, {{"id", 13}, {"content", "<|nocaptions|>"}}};
    const WhisperTokenizer it = tokenizerOf(file);
    const SpecialTokens& special = it.specialTokens();
    EXPECT_EQ(special.endToken, 10);
    EXPECT_EQ(special.noSpeechToken, 13);
    EXPECT_EQ(special.whitespaceToken, 7);
    EXPECT_EQ(special.timeTokenBegin, 14);
    for (const int missing : {special.englishToken, special.noTimestampsToken, special.startOfPreviousToken,
                              special.transcribeToken, special.translateToken})
        EXPECT_EQ(missing, noToken);
    EXPECT_THAT(it.allLanguageTokens(), ElementsAre(12));
    EXPECT_EQ(it.languageToken("Cantonese"), 12);
    EXPECT_EQ(it.languageToken("de"), std::nullopt);
    // A special token of a vocabulary of somebody's own comes before the times too, one far behind them does not.
    tokens.push_back({{"id", 14}, {"content", "<|shout|>"}});
    tokens.push_back({{"id", 5000}, {"content", "<|far|>"}});
    EXPECT_EQ(tokenizerOf(file).specialTokens().timeTokenBegin, 15);
    for (const std::size_t needed : {1U, 0U}) {
        tokens.erase(needed);
        EXPECT_THROW(tokenizerOf(file), hub::TokenizerError);
    }
}

TEST(WhisperTokenizer, SkippingSpecialTokens_LeavesNothingButText) {
    const std::vector<int> tokens{50257, 50258, 50358, 50363, 18435, 50373, 50256};
    EXPECT_EQ(tokenizer().decode(tokens),
              "<|startoftranscript|><|en|><|transcribe|><|0.00|> Hello<|0.20|><|endoftext|>");
    EXPECT_EQ(tokenizer().decode(tokens, true), " Hello");
}

TEST(WhisperTokenizer, Languages_AreNumberedInTheOrderOfTheTable) {
    ASSERT_EQ(languages().size(), 100U);
    int token = tokenizer().specialTokens().englishToken;
    for (const Language& language : languages().first(99)) { // the hundredth is younger than this vocabulary
        SCOPED_TRACE(language.code);
        EXPECT_EQ(tokenizer().languageToken(std::string(language.code)), token);
        EXPECT_EQ(tokenizer().languageToken(std::string(language.name)), token);
        EXPECT_EQ(tokenizer().languageCode(token), language.code);
        ++token;
    }
    EXPECT_EQ(tokenizer().allLanguageTokens().size(), 99U);
    EXPECT_EQ(tokenizer().languageToken("yue"), std::nullopt);
    EXPECT_EQ(languageCodeOf("German"), "de");
    EXPECT_EQ(languageCodeOf("castilian"), "es");
    EXPECT_EQ(languageCodeOf("klingon"), std::nullopt);
    for (const Language& other : otherLanguageNames())
        EXPECT_EQ(languageCodeOf(std::string(other.code)), other.code) << other.name;
}

TEST(WhisperTokenizer, WordsOfLanguagesWithBlanks) {
    EXPECT_THAT(tokenizer().splitToWordTokens(std::vector{50257, 50363, 18435, 11, 995, 0, 50373, 50256}, "en"),
                ElementsAre(Pair(" Hello", ElementsAre(18435)), Pair(",", ElementsAre(11)),
                            Pair(" world", ElementsAre(995)), Pair("!", ElementsAre(0))));
    EXPECT_THAT(wordsOf("It's (unbelievably) good", "en"), ElementsAre("It's", " (unbelievably", ")", " good"));
    EXPECT_THAT(wordsOf(" Stra\u00DFenbahnhaltestelle \u00FCber", "de"),
                ElementsAre(" Stra\u00DFenbahnhaltestelle", " \u00FCber"));
    EXPECT_THAT(
        wordsOf(" \u0928\u092E\u0938\u094D\u0924\u0947 \U0001F468\u200D\U0001F469\u200D\U0001F467 ok", "hi"),
        ElementsAre(" \u0928\u092E\u0938\u094D\u0924\u0947", " \U0001F468\u200D\U0001F469\u200D\U0001F467", " ok"));
    EXPECT_THAT(wordsOf("", "en"), ElementsAre());
}

TEST(WhisperTokenizer, WordsOfLanguagesWithoutBlanks_AreCharactersOrPiecesOfThem) {
    EXPECT_THAT(wordsOf("\u4ECA\u65E5\u3002ok", "ja"), ElementsAre("\u4ECA", "\u65E5", "\u3002", "ok"));
    EXPECT_THAT(wordsOf("\u4ECA\u65E5\u3002ok", "en"), ElementsAre("\u4ECA\u65E5\u3002ok"));
    for (const char* language : {"zh", "ja", "th", "lo", "my", "yue"})
        EXPECT_EQ(wordsOf("\u0E01\u0E02", language).size(), 2U) << language;
}

TEST(WhisperTokenizer, BrokenCharacters_LoseNoTokenAndNoWord) {
    const std::vector<int> face = tokenizer().encode("\U0001F600");
    ASSERT_GE(face.size(), 2U);
    const std::vector<int> hello = tokenizer().encode(" hello");
    for (std::size_t kept = 1; kept < face.size(); ++kept) {
        std::vector<int> tokens(face.begin(), face.begin() + static_cast<std::ptrdiff_t>(kept));
        EXPECT_FALSE(wordsOf(tokens, "en").empty()); // at the end of a window
        tokens.insert(tokens.end(), hello.begin(), hello.end());
        EXPECT_EQ(wordsOf(tokens, "en").back(), " hello");
        EXPECT_EQ(wordsOf(tokens, "ja").back(), " hello");
    }
}
