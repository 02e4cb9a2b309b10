// A megabyte of mixed text through every family: what comes back, and that the ranges cover the text.

#include "SmallTokenizer.h"
#include "base/Text.h"
#include "support/MixedText.h"
#include "support/Sanitizer.h"

#include <functional>
#include <gtest/gtest.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

using namespace fenlo;
using namespace fenlo::hub;
using namespace fenlo::hub::test;

namespace {

/// Pieces of a megabyte, some of which begin or end within a character.
const std::vector<std::string>& mixedPieces() {
    static const std::vector<std::string> pieces = [] {
        const std::string text = fenlo::test::MixedText(20'240).make(fenlo::test::isSanitized ? 50'000 : 1'000'000);
        std::vector<std::string> cut;
        for (std::size_t at = 0; at < text.size(); at += 5000)
            cut.push_back(text.substr(at, 5000));
        return cut;
    }();
    return pieces;
}

std::string composed(const std::string& text) {
    UErrorCode error = U_ZERO_ERROR;
    const icu::Normalizer2* form = icu::Normalizer2::getNFCInstance(error);
    std::string result;
    return form->normalize(icu::UnicodeString::fromUTF8(text), error).toUTF8String(result);
}

/// Calls `use(c)` for the code points of a text.
template <typename Use>
void forCodePoints(const std::string& text, Use use) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    for (std::size_t at = 0; at < text.size();) {
        UChar32 c = 0;
        U8_NEXT(bytes, at, text.size(), c);
        use(c);
    }
}

std::string utf8(UChar32 c) {
    std::string character;
    return icu::UnicodeString(c).toUTF8String(character);
}

/// The words between white space, with a blank between them.
std::string wordsOf(const std::string& text) {
    std::string words;
    std::size_t begin = 0; // of a word that has begun
    std::size_t at = 0;
    bool isWithin = false;
    const auto end = [&] {
        if (isWithin)
            words.append(words.empty() ? "" : " ").append(text, begin, at - begin);
    };
    forCodePoints(text, [&](UChar32 c) {
        const bool isBlank = u_isUWhiteSpace(c);
        if (isBlank)
            end();
        else if (!isWithin)
            begin = at;
        isWithin = !isBlank;
        at += U8_LENGTH(c);
    });
    end();
    return words;
}

/// A vocabulary of all characters of the mixed text, alone and within a word.
std::vector<std::string> everyCharacter(const std::string& prefix) {
    std::vector<bool> isThere(0x110000);
    for (const std::string& piece : mixedPieces())
        forCodePoints(text::repairUtf8(piece), [&](UChar32 c) { isThere[static_cast<std::size_t>(c)] = true; });
    std::vector<std::string> pieces{"[UNK]"};
    for (UChar32 c = 0; c < 0x110000; ++c)
        if (isThere[static_cast<std::size_t>(c)])
            pieces.insert(pieces.end(), {utf8(c), prefix + utf8(c)});
    return pieces;
}

/// No token's range goes back, and what lies between two of them is white space; nothing else is left out.
void expectCovered(const Encoding& encoding, const std::string& text) {
    std::size_t last = 0;
    std::size_t done = 0;
    std::string leftOut;
    bool isInOrder = true;
    for (const EncodedToken& token : encoding.tokens) {
        isInOrder = isInOrder && last <= token.range.begin && token.range.begin <= token.range.end;
        last = token.range.begin;
        if (done < last)
            leftOut += text.substr(done, last - done);
        done = std::max(done, token.range.end);
    }
    ASSERT_TRUE(isInOrder);
    ASSERT_LE(done, text.size());
    ASSERT_EQ(wordsOf(leftOut + text.substr(done)), "");
}

void expectRoundTrip(const Tokenizer& tokenizer, const std::function<std::string(std::string)>& promised) {
    for (const std::string& text : mixedPieces()) {
        const Encoding encoding = tokenizer.encoding({text}, {.addsSpecialTokens = false});
        const std::vector<int> ids = encoding.ids();
        ASSERT_EQ(ids, tokenizer.encode(text));
        const std::string back = tokenizer.decode(ids);
        const std::string expected = promised(text::repairUtf8(text));
        const auto difference = static_cast<std::size_t>(std::ranges::mismatch(back, expected).in1 - back.begin());
        ASSERT_TRUE(back == expected) << "differs at " << difference << ": " << back.substr(difference, 20) << " | "
                                      << expected.substr(difference, 20);
        expectCovered(encoding, text);
        if (testing::Test::HasFatalFailure())
            return;
    }
}

Tokenizer family(const std::string& name) {
    return Tokenizer::load(TOKENIZER_REFERENCE "/" + name + ".json");
}

} // namespace

TEST(RoundTrip, ByteLevelGivesExactlyTheRepairedText) {
    const auto exact = [](const std::string& text) { return text; };
    const Tokenizer large = Tokenizer::load(DEMO_MODEL_FOLDER "/tokenizer.json");
    expectRoundTrip(large, exact);
    expectRoundTrip(family("byte_level"), exact);
    for (const std::string& piece : mixedPieces()) { // each byte is in exactly one token
        const std::string text = text::repairUtf8(piece);
        std::size_t done = 0;
        bool isRow = true;
        for (const EncodedToken& token : large.encoding({text}, {.addsSpecialTokens = false}).tokens)
            isRow = isRow && token.range.begin == std::exchange(done, token.range.end);
        ASSERT_TRUE(isRow && done == text.size());
    }
}

TEST(RoundTrip, ByteLevelWithANormalizerGivesTheNormalizedText) {
    expectRoundTrip(family("byte_level_prefixed"), [](const std::string& text) {
        const std::string normalized = composed(text);
        return normalized.starts_with(' ') ? normalized : " " + normalized;
    });
}

TEST(RoundTrip, BytesInPlaceOfUnknownCharactersLoseNothing) {
    const auto exact = [](const std::string& text) { return text; };
    expectRoundTrip(family("byte_fallback"), exact);
    // One blank at the begin cannot be told from the one that is always put there.
    expectRoundTrip(family("unigram_bytes"),
                    [](const std::string& text) { return text.substr(text.starts_with(' ') ? 1 : 0); });
    const Tokenizer pairs = family("metaspace_pairs");
    expectRoundTrip(pairs, [&](const std::string& text) {
        std::string known; // its vocabulary lacks the bytes E4 and F0
        forCodePoints(text.substr(text.starts_with(' ') ? 1 : 0), [&](UChar32 c) {
            const std::string character = utf8(c);
            const bool lacksByte = character[0] == '\xE4' || character[0] == '\xF0';
            known += lacksByte && !pairs.tokenToId(character) ? "<unk>" : character;
        });
        return known;
    });
}

TEST(RoundTrip, FamiliesOfWordsGiveTheWords) {
    json pieces = smallFile(everyCharacter("##"));
    pieces["pre_tokenizer"] = {{"type", "WhitespaceSplit"}};
    pieces["decoder"] = {{"type", "WordPiece"}, {"prefix", "##"}, {"cleanup", false}};
    pieces["model"] = {{"type", "WordPiece"},
                       {"unk_token", "[UNK]"},
                       {"continuing_subword_prefix", "##"},
                       {"max_input_chars_per_word", 5000},
                       {"vocab", pieces["model"]["vocab"]}};
    expectRoundTrip(parsed(pieces), wordsOf);

    json words = pieces;
    json& vocabulary = words["model"]["vocab"];
    for (const std::string& text : mixedPieces())
        for (const std::string& word : text::split(wordsOf(text::repairUtf8(text)), ' '))
            if (!vocabulary.contains(word))
                vocabulary[word] = vocabulary.size();
    words["model"] = {{"type", "WordLevel"}, {"unk_token", "[UNK]"}, {"vocab", vocabulary}};
    words["decoder"] = nullptr;
    expectRoundTrip(parsed(words), wordsOf);
}
