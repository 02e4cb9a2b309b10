// Byte-pair merges and added tokens, on vocabularies of a few pieces.

#include "SmallTokenizer.h"

#include <gmock/gmock.h>

using namespace fenlo::hub;
using namespace fenlo::hub::test;
using testing::ElementsAre;

TEST(BytePairEncoding, MergesInOrderOfTheListAndFromTheLeft) {
    const std::vector<std::string> pieces{"a", "b", "c", "ab", "bc", "abc", "aa", "aaaa"};
    const Tokenizer bcFirst = parsed(smallFile(pieces, {"b c", "a b", "a bc"}));
    EXPECT_THAT(piecesOf(bcFirst, "abc"), ElementsAre("abc"));
    EXPECT_THAT(piecesOf(bcFirst, "abb"), ElementsAre("ab", "b"));
    const Tokenizer abFirst = parsed(smallFile(pieces, {"a b", "b c", "a bc"}));
    EXPECT_THAT(piecesOf(abFirst, "abc"), ElementsAre("ab", "c"));
    // A merge may come before those that make its parts.
    const Tokenizer runs = parsed(smallFile(pieces, json::array({{"aa", "aa"}, {"a", "a"}})));
    EXPECT_THAT(piecesOf(runs, "aaaaaaa"), ElementsAre("aaaa", "aa", "a"));
    EXPECT_THAT(piecesOf(runs, ""), ElementsAre());
}

TEST(BytePairEncoding, CharactersOutsideTheVocabulary_AreUnknownBytesOrDropped) {
    json file = smallFile({"a", "?", "<0xC3>", "<0xA9>", "aa"}, {"a a"});
    EXPECT_THAT(piecesOf(parsed(file), "a\u00E9xa"), ElementsAre("aa")); // what is dropped leaves no gap
    file["model"]["unk_token"] = "?";
    EXPECT_THAT(piecesOf(parsed(file), "a\u00E9xa"), ElementsAre("a", "?", "?", "a"));
    file["model"]["fuse_unk"] = true;
    EXPECT_THAT(piecesOf(parsed(file), "a\u00E9xa"), ElementsAre("a", "?", "a"));
    file["model"]["byte_fallback"] = true;
    EXPECT_THAT(piecesOf(parsed(file), "a\u00E9\u00E8a"), ElementsAre("a", "<0xC3>", "<0xA9>", "?", "a"));
}

TEST(BytePairEncoding, PrefixAndWholeWords_AreAsTheModelSays) {
    json file = smallFile({"a", "##a", "##b", "aa", "aab"}, json::array({{"a", "##a"}}));
    file["model"]["continuing_subword_prefix"] = "##";
    EXPECT_THAT(piecesOf(parsed(file), "aab"), ElementsAre("aa", "##b"));
    file["model"]["ignore_merges"] = true;
    EXPECT_THAT(piecesOf(parsed(file), "aab"), ElementsAre("aab"));
}

TEST(Model, TypeThatIsMissing_IsToldByTheMembers) {
    const auto piecesBy = [](const json& model) {
        json file = smallFile({});
        file["model"] = model;
        return piecesOf(parsed(file), "abab");
    };
    const json words = {{"?", 0}, {"abab", 1}, {"a", 2}, {"##bab", 3}, {"b", 4}};
    EXPECT_THAT(piecesBy({{"vocab", words}, {"unk_token", "?"}}), ElementsAre("abab"));
    EXPECT_THAT(piecesBy({{"vocab", words}, {"unk_token", "?"}, {"merges", json::array()}}),
                ElementsAre("a", "b", "a", "b"));
    json without = words;
    without.erase("abab");
    EXPECT_THAT(piecesBy({{"vocab", without}, {"unk_token", "?"}, {"max_input_chars_per_word", 9}}),
                ElementsAre("a", "##bab"));
    EXPECT_THAT(piecesBy({{"vocab", Scores{{"?", 0}, {"a", -1}, {"ba", -2}, {"b", -1.5}}}, {"unk_id", 0}}),
                ElementsAre("a", "ba", "b"));
}

// An unknown word must not look through the whole vocabulary, and a hostile one must not make it grow.
TEST(Model, WordOfManyLetters_IsEncodedWithoutBlowUp) {
    constexpr std::size_t letters = 1 << 17;
    json file = smallFile({});
    Scores scores{{"?", 0.0}};
    for (std::size_t length = 1; length <= 256; length *= 2)
        scores.emplace_back(std::string(length, 'a'), -1.0);
    file["model"] = {{"type", "Unigram"}, {"vocab", scores}, {"unk_id", 0}};
    const Tokenizer likely = parsed(file);
    EXPECT_EQ(likely.encode(std::string(letters, 'a')).size(), letters / 256);
    EXPECT_EQ(likely.encode(std::string(letters, 'b')), std::vector{0}); // one run
    file["model"] = {{"type", "WordPiece"}, {"vocab", {{"?", 0}, {"a", 1}, {"##a", 2}}}, {"unk_token", "?"}};
    EXPECT_EQ(parsed(file).encode(std::string(letters, 'a')), std::vector{0});
}

// Some words are remembered, others are too many or too long for that.
TEST(Model, WordsThatComeAgain_HaveTheSameTokens) {
    json file = smallFile({"1", "2", "3", "4", "12", "41", "412"}, {"1 2", "4 1", "41 2"});
    file["pre_tokenizer"] = {{"type", "WhitespaceSplit"}};
    const Tokenizer tokenizer = parsed(file);
    std::vector<std::string> words{std::string(100, '4')};
    for (const std::string before = "1234"; words.size() < 20'000;) {
        const std::string& word = words[words.size() / 4];
        words.push_back((word.size() > 50 ? "" : word) + before[words.size() % 4]);
    }
    std::string text;
    std::vector<int> expected;
    for (const std::string& word : words)
        for (const int token : tokenizer.encode(word))
            expected.push_back(token);
    expected.insert(expected.end(), expected.begin(), expected.end());
    for (int time = 0; time < 2; ++time)
        for (const std::string& word : words)
            text += word + " ";
    EXPECT_EQ(tokenizer.encode(text), expected);
    EXPECT_EQ(tokenizer.encoding({text}, {}).ids(), expected);
}

// What was not known to the model when it was trained is no piece for it.
TEST(Model, AddedTokens_AreNoPiecesOfTheModel) {
    json file = smallFile({});
    file["normalizer"] = {{"type", "Lowercase"}};
    file["added_tokens"] = {{{"id", 7}, {"content", "new"}, {"normalized", false}}};
    file["model"] = {{"type", "WordLevel"}, {"vocab", {{"?", 0}}}, {"unk_token", "?"}};
    EXPECT_THAT(piecesOf(parsed(file), "new"), ElementsAre("new"));
    EXPECT_THAT(piecesOf(parsed(file), "NEW"), ElementsAre("?"));
}

TEST(AddedTokens, AreFoundLongestFirstWithTheirSettings) {
    json file = smallFile({"a", "b", " ", "A"});
    file["normalizer"] = {{"type", "Lowercase"}};
    int id = 10;
    const auto add = [&](const char* content, const json& settings = json::object()) {
        json token = {{"id", id++}, {"content", content}, {"special", true}};
        token.update(settings);
        file["added_tokens"].push_back(token);
    };
    add("<x>");
    add("<x><y>");
    add("<w>", {{"single_word", true}});
    add("<s>", {{"lstrip", true}, {"rstrip", true}});
    add("BAB", {{"normalized", true}});
    add("ABA", {{"normalized", false}});
    const Tokenizer tokenizer = parsed(file);
    EXPECT_THAT(piecesOf(tokenizer, "a<x><x><y>b<x"), ElementsAre("a", "<x>", "<x><y>", "b"));
    EXPECT_THAT(piecesOf(tokenizer, "<w> a<w> <w>b"), ElementsAre("<w>", " ", "a", " ", "b"));
    EXPECT_THAT(piecesOf(tokenizer, "a  <s> \u00A0 b <s><s>"), ElementsAre("a", "<s>", "b", "<s>", "<s>"));
    EXPECT_THAT(piecesOf(tokenizer, "abab"), ElementsAre("a", "BAB")); // in the text in lower case
    EXPECT_THAT(piecesOf(tokenizer, "ABAb"), ElementsAre("ABA", "b"));
    EXPECT_EQ(tokenizer.decode(std::vector{10, 0, 15}, true), "a");
}
