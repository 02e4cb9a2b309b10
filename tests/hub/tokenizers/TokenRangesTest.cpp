// Which bytes of its text every token comes from.

#include "SmallTokenizer.h"
#include "base/Text.h"

#include <gmock/gmock.h>
#include <random>

using namespace fenlo;
using namespace fenlo::hub;
using namespace fenlo::hub::test;
using testing::ElementsAre;
using testing::Pair;

namespace {

const EncodingOptions tokensOnly{.addsSpecialTokens = false};

using Places = std::vector<std::pair<std::string, std::string>>;

/// Each token, with its part of the text.
Places placesOf(const Tokenizer& tokenizer, const std::string& text) {
    Places places;
    for (const EncodedToken& token : tokenizer.encoding({text}, tokensOnly).tokens)
        places.emplace_back(tokenizer.idToToken(token.id).value(), text.substr(token.range.begin, token.range.size()));
    return places;
}

/// What holds for every tokenizer and every text.
void expectSoundRanges(const Tokenizer& tokenizer, const std::string& text) {
    SCOPED_TRACE(text);
    const Encoding encoding = tokenizer.encoding({text}, tokensOnly);
    std::vector<int> ids;
    TextRange last{0, 0};
    int lastWord = 0;
    for (const EncodedToken& token : encoding.tokens) {
        ids.push_back(token.id);
        EXPECT_LE(token.range.begin, token.range.end);
        EXPECT_LE(token.range.end, text.size());
        EXPECT_GE(token.range.begin, last.begin);
        EXPECT_TRUE(token.word == lastWord || token.word > lastWord);
        last = token.range;
        lastWord = token.word;
    }
    EXPECT_EQ(ids, tokenizer.encode(text));
}

/// No range begins or ends within a character.
void expectWholeCharacters(const Tokenizer& tokenizer, const std::string& text) {
    const auto isWithin = [&](std::size_t at) {
        return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80;
    };
    for (const EncodedToken& token : tokenizer.encoding({text}, tokensOnly).tokens)
        EXPECT_FALSE(isWithin(token.range.begin) || isWithin(token.range.end)) << text;
}

std::string randomText(std::mt19937& random) {
    const char* const units[] = {"a",          "b",       "B",      " ",      "  ",     "\n",
                                 "\u00E9",     "e\u0301", "\uFB01", "\u65E5", "\u0130", "\u1E9B",
                                 "\U0001F600", "\xC3",    "\xFF",   "<x>",    "1",      ","};
    std::string text;
    for (std::size_t i = random() % 20; i > 0; --i)
        text += units[random() % std::size(units)];
    return text;
}

} // namespace

TEST(TokenRanges, ByteLevelTokens_HaveTheirBytes) {
    const Tokenizer tokenizer = Tokenizer::load(DEMO_MODEL_FOLDER "/tokenizer.json");
    EXPECT_THAT(placesOf(tokenizer, "Hello  w\u00E9!<|0.20|>"),
                ElementsAre(Pair("Hello", "Hello"), Pair("\u0120", " "), Pair("\u0120w", " w"),
                            Pair("\u00C3\u00A9", "\u00E9"), Pair("!", "!"), Pair("<|0.20|>", "<|0.20|>")));
    EXPECT_THAT(placesOf(tokenizer, "a\xFF"), ElementsAre(Pair("a", "a"), Pair("\u00EF\u00BF\u00BD", "\xFF")));
    std::mt19937 random(3);
    for (int round = 0; round < 300; ++round) {
        const std::string text = randomText(random);
        expectSoundRanges(tokenizer, text);
        if (text::repairUtf8(text) != text)
            continue;
        // Nothing is changed or left out, so each token is its part of the text.
        for (const EncodedToken& token : tokenizer.encoding({text}, tokensOnly).tokens) {
            const std::string part = text.substr(token.range.begin, token.range.size());
            EXPECT_EQ(tokenizer.decode(std::vector{token.id}), text::repairUtf8(part));
        }
    }
}

TEST(TokenRanges, NormalizedText_PointsToWhatItWas) {
    json file = smallFile({"a", "b", "e", "f", "i", "_", "fi", "?"}, {"f i"});
    file["model"]["unk_token"] = "?";
    file["model"]["fuse_unk"] = true;
    file["normalizer"] = parseJson(R"({"type":"Sequence","normalizers":[{"type":"Strip"},{"type":"NFKD"},
        {"type":"StripAccents"},{"type":"Lowercase"},{"type":"Prepend","prepend":"_"},
        {"type":"Replace","pattern":{"String":" "},"content":"_"}]})");
    const Tokenizer tokenizer = parsed(file);
    EXPECT_THAT(placesOf(tokenizer, "  A\u00C9 e\u0301b\uFB01F\uFB01\u65E5\u672C "),
                ElementsAre(Pair("_", ""), Pair("a", "A"), Pair("e", "\u00C9"), Pair("_", " "), Pair("e", "e"),
                            Pair("b", "b"), Pair("fi", "\uFB01"), Pair("f", "F"), Pair("fi", "\uFB01"),
                            Pair("?", "\u65E5\u672C")));
    EXPECT_EQ(tokenizer.encoding("  A").tokens.at(0).range, (TextRange{2, 2}));
    std::mt19937 random(4);
    for (int round = 0; round < 300; ++round)
        expectSoundRanges(tokenizer, randomText(random));
}

TEST(TokenRanges, WordsAndAddedTokens_AreCounted) {
    json file = smallFile({"a", "b", "_a", "_b", "_", "_ab"}, json::array({{"_", "a"}, {"_a", "b"}, {"_", "b"}}));
    file["pre_tokenizer"] = {{"type", "Metaspace"}, {"replacement", "_"}};
    file["added_tokens"] = {{{"id", 9}, {"content", "<x>"}, {"special", true}, {"lstrip", true}, {"rstrip", true}}};
    const Tokenizer tokenizer = parsed(file);
    EXPECT_THAT(placesOf(tokenizer, "ab ba <x> a"), ElementsAre(Pair("_ab", "ab"), Pair("_b", " b"), Pair("a", "a"),
                                                                Pair("<x>", " <x> "), Pair("_a", "a")));
    std::vector<int> words;
    for (const EncodedToken& token : tokenizer.encoding("ab ba <x> a").tokens) {
        words.push_back(token.word);
        EXPECT_EQ(token.isSpecial, token.id == 9);
    }
    EXPECT_THAT(words, ElementsAre(0, 1, 1, 2, 3));
    std::mt19937 random(5);
    for (int round = 0; round < 300; ++round)
        expectSoundRanges(tokenizer, randomText(random));
}

TEST(TokenRanges, AddedTokensInNormalizedText_CoverWhatTheyWere) {
    json file = smallFile({"a", "b", "f", " ", "e", "?"});
    file["model"]["unk_token"] = "?";
    file["normalizer"] = parseJson(R"({"type":"Sequence","normalizers":[{"type":"NFKD"},{"type":"StripAccents"},
        {"type":"Lowercase"},{"type":"Replace","pattern":{"String":"-"},"content":""}]})");
    int id = 20;
    for (const auto& [content, settings] : std::vector<std::pair<const char*, json>>{
             {"CAF\u00C9", {{"normalized", true}}},
             {"i", {{"normalized", true}}},
             {"be", {{"normalized", true}, {"single_word", true}}},
             {"<m>", {{"normalized", false}, {"lstrip", true}}},
             {"<n>", {{"normalized", true}, {"rstrip", true}}},
         }) {
        json token = {{"id", id++}, {"content", content}};
        token.update(settings);
        file["added_tokens"].push_back(token);
    }
    const Tokenizer tokenizer = parsed(file);
    EXPECT_THAT(placesOf(tokenizer, "aC-a\uFB00Cafe\u0301 Be, bea"),
                ElementsAre(Pair("a", "a"), Pair("?", "C"), Pair("a", "a"), Pair("f", "\uFB00"), Pair("f", "\uFB00"),
                            Pair("CAF\u00C9", "Cafe"), Pair(" ", " "), Pair("be", "Be"), Pair("?", ","), Pair(" ", " "),
                            Pair("b", "b"), Pair("e", "e"), Pair("a", "a")));
    EXPECT_THAT(placesOf(tokenizer, "\u00CAb-E\u00CC<N> \u00A0a\t<m> "),
                ElementsAre(Pair("e", "\u00CA"), Pair("b", "b"), Pair("e", "E"), Pair("i", "\u00CC"),
                            Pair("<n>", "<N> \u00A0"), Pair("a", "a"), Pair("<m>", "\t<m>"), Pair(" ", " ")));
    EXPECT_THAT(placesOf(tokenizer, "\uFB01"), ElementsAre(Pair("f", "\uFB01"), Pair("i", "\uFB01")));
    std::mt19937 random(9);
    for (int round = 0; round < 300; ++round)
        expectSoundRanges(tokenizer, randomText(random));
}

// Every kind of step, alone and in random company.
TEST(TokenRanges, AnySteps_LeaveSoundRangesAtCharacters) {
    const std::vector<const char*> normalizers{R"({"type":"BertNormalizer"})",
                                               R"({"type":"BertNormalizer","strip_accents":false,"lowercase":false})",
                                               R"({"type":"NFC"})",
                                               R"({"type":"NFD"})",
                                               R"({"type":"NFKC"})",
                                               R"({"type":"NFKD"})",
                                               R"({"type":"Lowercase"})",
                                               R"({"type":"StripAccents"})",
                                               R"({"type":"Strip","strip_left":true,"strip_right":true})",
                                               R"({"type":"Prepend","prepend":"_"})",
                                               R"({"type":"Replace","pattern":{"Regex":"[a1]+"},"content":"bb"})",
                                               R"({"type":"Replace","pattern":{"String":" "},"content":""})",
                                               R"({"type":"Nmt"})"};
    const std::vector<const char*> preTokenizers{
        R"({"type":"BertPreTokenizer"})",
        R"({"type":"CharDelimiterSplit","delimiter":"a"})",
        R"({"type":"Digits","individual_digits":true})",
        R"({"type":"FixedLength","length":2})",
        R"({"type":"Metaspace","replacement":"_","prepend_scheme":"always"})",
        R"({"type":"Metaspace","replacement":"_","prepend_scheme":"first","split":false})",
        R"({"type":"Punctuation","behavior":"MergedWithNext"})",
        R"({"type":"Split","pattern":{"Regex":"\\p{L}+"},"behavior":"Contiguous","invert":true})",
        R"({"type":"Split","pattern":{"String":"b"},"behavior":"Removed"})",
        R"({"type":"UnicodeScripts"})",
        R"({"type":"Whitespace"})",
        R"({"type":"WhitespaceSplit"})"};
    json file = smallFile({"?", "a", "b", "B", "_", "e", "\u00E9", "\u65E5", "i", "f", "1", ",", "bb", " "}, {"b b"});
    file["model"]["unk_token"] = "?";
    file["added_tokens"] = {{{"id", 20}, {"content", "<x>"}, {"normalized", true}, {"rstrip", true}},
                            {{"id", 21}, {"content", "\u0130"}, {"special", true}, {"single_word", true}}};
    std::mt19937 random(6);
    const auto sequenceOf = [&](const char* list, const std::vector<const char*>& types) {
        json steps = json::array();
        for (std::size_t i = random() % 4; i > 0; --i)
            steps.push_back(parseJson(types[random() % types.size()]));
        return json{{"type", "Sequence"}, {list, steps}};
    };
    for (int round = 0; round < 150; ++round) {
        file["normalizer"] = sequenceOf("normalizers", normalizers);
        file["pre_tokenizer"] = sequenceOf("pretokenizers", preTokenizers);
        SCOPED_TRACE(writeJson(file["normalizer"]) + writeJson(file["pre_tokenizer"]));
        const Tokenizer tokenizer = parsed(file);
        for (int i = 0; i < 20; ++i) {
            const std::string text = randomText(random);
            expectSoundRanges(tokenizer, text);
            expectWholeCharacters(tokenizer, text);
        }
    }
}

TEST(TokenRanges, TokensThatStandInTheText_ArePartsOfIt) {
    json file = smallFile({"?", "a", "b", "B", "1", ",", "\u00E9", "\u65E5", "e", " ", "\n", "ab", "\u00E9a", "11"},
                          json::array({{"a", "b"}, {"\u00E9", "a"}, {"1", "1"}}));
    file["model"]["unk_token"] = "?";
    std::mt19937 random(8);
    for (const char* settings :
         {R"({"type":"BertPreTokenizer"})", R"({"type":"CharDelimiterSplit","delimiter":"\u00E9"})",
          R"({"type":"Digits","individual_digits":true})", R"({"type":"FixedLength","length":3})",
          R"({"type":"Punctuation","behavior":"Removed"})", R"({"type":"UnicodeScripts"})", R"({"type":"Whitespace"})",
          R"({"type":"Split","pattern":{"Regex":"\\s+|b"},"behavior":"MergedWithPrevious"})"}) {
        file["pre_tokenizer"] = parseJson(settings);
        const Tokenizer tokenizer = parsed(file);
        for (int round = 0; round < 100; ++round)
            for (const auto& [piece, part] : placesOf(tokenizer, randomText(random)))
                EXPECT_TRUE(piece == "?" || piece == part) << settings << ": " << piece << " for " << part;
    }
}
