#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/TokenizerDocument.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fenlo::hub {

/// Byte-pair encoding (Sennrich et al., "Neural Machine Translation of Rare Words with Subword Units", 2016): a word
/// begins as its characters; the pair of neighbours that is highest in the list of merges is joined, again and again,
/// until no pair is in the list.
///
/// Threads: constant once made.
class BytePairEncoding {
public:
    /// `node` is the file's member "model".
    /// Errors: TokenizerError for settings, merges and pieces that do not fit together.
    BytePairEncoding(const JsonNode& node, const TokenizerDocument& document);

    /// Appends the tokens of the words, in n log n time for the longest of n characters. Characters that the vocabulary
    /// lacks become the unknown token, or nothing when the file has none. `vocabulary` is the one of the document.
    void encode(std::span<const std::string> words, const Vocabulary& vocabulary, std::vector<int>& tokens) const;

private:
    struct Merge {
        int left;
        int right;
        std::uint32_t rank; // lower goes first
        int result;
    };
    struct Symbol;
    struct Scratch;

    void readMerges(const JsonNode& node, const TokenizerDocument& document);
    const Merge* mergeOf(int left, int right) const;
    void splitCharacters(std::string_view word, const Vocabulary& vocabulary, std::vector<Symbol>& symbols) const;
    bool appendBytes(std::string_view character, const Vocabulary& vocabulary, std::vector<Symbol>& symbols) const;
    void mergeSymbols(Scratch& scratch) const;

    std::vector<Merge> m_merges;             // by left, then right
    std::vector<std::size_t> m_mergesOfLeft; // [id], where those of a left piece begin; one more at the end
    std::optional<int> m_unknown;
    std::string m_continuingPrefix; // before every character of a word but the first
    bool m_fusesUnknown = false;
    bool m_byteFallback = false;
    bool m_ignoresMerges = false; // for a word that is itself a piece
};

} // namespace fenlo::hub
