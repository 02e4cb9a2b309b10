// The byte-level tokenizer of the small trained model: recorded tokens, an independent encoder's tokens, any text.

#include "base/Files.h"
#include "base/Json.h"
#include "base/Text.h"
#include "hub/tokenizers/Tokenizer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <random>

using namespace fenlo;
using nlohmann::json;

namespace {

const hub::Tokenizer& tokenizer() {
    static const hub::Tokenizer loaded = hub::Tokenizer::load(DEMO_MODEL_FOLDER "/tokenizer.json");
    return loaded;
}

json readJson(const char* file) {
    return parseJson(files::read(file).value());
}

} // namespace

TEST(ByteLevelTokenizer, RecordedTranscripts_DecodeToTheirTextAndBack) {
    int transcripts = 0;
    for (const char* file : {GOLDEN_FOLDER "/samples/samples.json", GOLDEN_FOLDER "/eval/references.json"})
        for (const json& clip : readJson(file)) {
            SCOPED_TRACE(clip["file"]);
            const auto text = clip["no_timestamps"]["text"].get<std::string>();
            const auto tokens = clip["no_timestamps"]["tokens"].get<std::vector<int>>();
            EXPECT_EQ(tokenizer().decode(tokens), text);
            EXPECT_EQ(tokenizer().encode(text), tokens);
            const json& timed = clip["with_timestamps"];
            if (timed.contains("text_ts")) {
                const auto timedTokens = timed["tokens"].get<std::vector<int>>();
                EXPECT_EQ(tokenizer().decode(timedTokens), timed["text_ts"]);
                EXPECT_EQ(tokenizer().encode(timed["text_ts"].get<std::string>()), timedTokens);
            }
            ++transcripts;
        }
    EXPECT_EQ(transcripts, 92);
}

TEST(ByteLevelTokenizer, TextOfManyScripts_GivesTheTokensOfThePlainEncoder) {
    for (const json& row : readJson(TOKENIZER_REFERENCE "/demo_model_expected.json")) {
        const auto text = row["text"].get<std::string>();
        SCOPED_TRACE(text);
        EXPECT_EQ(json(tokenizer().encode(text)), row["tokens"]);
        EXPECT_EQ(tokenizer().decode(tokenizer().encode(text)), text);
    }
}

TEST(ByteLevelTokenizer, CharacterOfSeveralTokens_ComesOutWholeAndCutAsReplacement) {
    const std::string face = "\U0001F600";
    std::vector<int> tokens = tokenizer().encode(face);
    ASSERT_GT(tokens.size(), 1U);
    EXPECT_EQ(tokenizer().decode(tokens), face);
    tokens.pop_back();
    const std::string cut = tokenizer().decode(tokens);
    EXPECT_TRUE(cut.starts_with("\uFFFD"));
    EXPECT_EQ(text::repairUtf8(cut), cut);
}

TEST(ByteLevelTokenizer, AddedTokens_AreFoundByTextAndSkippedWhenSpecial) {
    const std::vector<int> tokens{50257, 50363, 31373, 50373, 50256};
    const std::string text = "<|startoftranscript|><|0.00|>hello<|0.20|><|endoftext|>";
    EXPECT_EQ(tokenizer().encode(text), tokens);
    EXPECT_EQ(tokenizer().decode(tokens), text);
    EXPECT_EQ(tokenizer().decode(tokens, true), "<|0.00|>hello<|0.20|>"); // timestamps are not marked as special
    EXPECT_TRUE(tokenizer().isSpecial(50257));
    EXPECT_FALSE(tokenizer().isSpecial(50363));
    EXPECT_EQ(tokenizer().vocabularySize(), 51864);
    EXPECT_EQ(tokenizer().decode(std::vector{-1, 31373, 51864, 1 << 30}), "hello");
    EXPECT_FALSE(tokenizer().idToToken(-1) || tokenizer().idToToken(51864) || tokenizer().tokenToId("<|30.02|>"));
}

TEST(ByteLevelTokenizer, AnyBytes_GiveTheRepairedTextBack) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::string bytes(random() % 200, ' ');
        for (char& byte : bytes)
            byte = static_cast<char>(random());
        const std::string repaired = text::repairUtf8(bytes);
        EXPECT_EQ(tokenizer().decode(tokenizer().encode(bytes)), repaired);
        std::vector<int> tokens(50);
        for (int& token : tokens)
            token = static_cast<int>(random() % 52'000);
        const std::string decoded = tokenizer().decode(tokens);
        EXPECT_EQ(text::repairUtf8(decoded), decoded);
    }
}

// A merge that searches the whole word each time would take minutes here.
TEST(ByteLevelTokenizer, WordOfManyLetters_IsEncodedWithoutBlowUp) {
    for (const std::string unit : {"a", "ab", "<|", "\u00E9", " "}) {
        std::string text;
        while (text.size() < 250'000)
            text += unit;
        EXPECT_EQ(tokenizer().decode(tokenizer().encode(text)), text);
    }
}
