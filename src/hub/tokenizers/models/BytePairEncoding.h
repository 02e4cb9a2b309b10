#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/TokenizerDocument.h"
#include "hub/tokenizers/models/ModelSettings.h"
#include "hub/tokenizers/models/ModelToken.h"

#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fenlo::hub {

/// Byte-pair encoding (Sennrich et al., "Neural Machine Translation of Rare Words with Subword Units", 2016): a word
/// begins as its characters; the pair of neighbours that is highest in the list of merges is joined, again and again,
/// until no pair is in the list. The setting "dropout" leaves merges out at random while a model is trained; text is
/// encoded without it, so that the same text always has the same tokens.
///
/// Threads: constant once made.
class BytePairEncoding {
public:
    /// `node` is the file's member "model".
    /// Errors: TokenizerError for settings, merges and pieces that do not fit together.
    BytePairEncoding(const JsonNode& node, const TokenizerDocument& document);

    /// Appends the tokens of the word, in n log n time for n characters. Characters that the vocabulary lacks become
    /// the tokens of their bytes or the unknown token, or nothing when the file has neither. `vocabulary` is the one of
    /// the document, perhaps with added tokens.
    void encode(std::string_view word, const Vocabulary& vocabulary, std::vector<ModelToken>& tokens) const;

private:
    struct Merge {
        int left;
        int right;
        std::uint32_t rank; // lower goes first
        int result;
    };
    struct Symbol;
    class Merging;

    void readMerges(const JsonNode& node, const TokenizerDocument& document);
    /// Whether the id is one of the vocabulary and none of the added tokens behind it, which no merge makes.
    bool isPiece(int id) const { return static_cast<std::size_t>(id) + 1 < m_mergesOfLeft.size(); }
    const Merge* mergeOf(int left, int right) const;
    void splitCharacters(std::string_view word, const Vocabulary& vocabulary, std::pmr::vector<Symbol>& symbols) const;

    std::vector<Merge> m_merges;             // by left, then right
    std::vector<std::size_t> m_mergesOfLeft; // [id], where those of a left piece begin; one more at the end
    std::optional<int> m_unknown;
    std::string m_continuingPrefix; // before every character of a word but the first
    std::string m_endOfWord;        // after the last character of a word
    ByteTokens m_bytes;             // where unknown characters become bytes
    bool m_fusesUnknown = false;
    bool m_ignoresMerges = false; // for a word that is itself a piece
};

} // namespace fenlo::hub
