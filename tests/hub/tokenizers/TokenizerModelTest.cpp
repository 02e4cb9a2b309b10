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
