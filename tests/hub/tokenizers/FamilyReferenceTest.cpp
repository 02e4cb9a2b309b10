// Small tokenizers of every family against the plain readings of the algorithms in scripts/make_tokenizer_reference.py.

#include "base/Files.h"
#include "base/Json.h"
#include "hub/tokenizers/Tokenizer.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using nlohmann::json;

namespace {

/// The script can make a folder with far more texts than the repository keeps.
std::string referenceFile(const std::string& name) {
    const char* folder = std::getenv("FENLO_TOKENIZER_REFERENCE");
    return std::string(folder ? folder : TOKENIZER_REFERENCE) + "/" + name + ".json";
}

json readReference(const std::string& name) {
    return parseJson(files::read(referenceFile(name)).value_or(""));
}

class TokenizerFamily : public testing::TestWithParam<const char*> {};

} // namespace

TEST_P(TokenizerFamily, GivesTokensRangesAndTextOfThePlainAlgorithm) {
    const auto tokenizer = hub::Tokenizer::load(referenceFile(GetParam()));
    const json texts = readReference("texts");
    const json expected = readReference(std::string(GetParam()) + "_expected");
    ASSERT_EQ(texts.size(), expected.size());
    ASSERT_GE(texts.size(), 100U);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const auto text = texts[i].get<std::string>();
        SCOPED_TRACE(std::to_string(i) + ": " + text);
        std::vector<int> tokens;
        std::vector<std::size_t> ranges;
        for (const hub::EncodedToken& token : tokenizer.encoding(text).tokens) {
            tokens.push_back(token.id);
            ranges.insert(ranges.end(), {token.range.begin, token.range.end});
        }
        EXPECT_EQ(json(tokens), expected[i]["tokens"]);
        EXPECT_EQ(json(ranges), expected[i]["ranges"]);
        EXPECT_EQ(tokenizer.encode(text), tokens);
        EXPECT_EQ(tokenizer.decode(tokens), expected[i].value("decoded", text));
    }
}

INSTANTIATE_TEST_SUITE_P(Reference, TokenizerFamily,
                         testing::Values("byte_level", "byte_level_prefixed", "word_suffix", "continuing_prefix",
                                         "byte_fallback", "metaspace_pairs", "word_piece", "word_piece_cased",
                                         "unigram", "unigram_bytes", "word_level"),
                         [](const auto& family) { return family.param; });
