#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/TokenizerDocument.h"
#include "hub/tokenizers/models/ModelSettings.h"
#include "hub/tokenizers/models/ModelToken.h"
#include "hub/tokenizers/models/PieceTrie.h"

#include <optional>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// The most likely sequence of pieces (Kudo, "Subword Regularization", 2018): every piece has the logarithm of its
/// probability as its score, and a dynamic program after Viterbi finds the pieces with the largest sum. A character
/// that is no piece counts ten less than the least likely piece; neighbouring ones are one unknown token, or the tokens
/// of their bytes. Of several best sequences it is the one whose last piece is longest.
///
/// Threads: constant once made.
class Unigram {
public:
    /// `node` is the file's member "model".
    /// Errors: TokenizerError for settings that do not fit together.
    Unigram(const JsonNode& node, const TokenizerDocument& document);

    /// Linear in the length of the word, times that of the longest piece. Characters that are no piece are left out
    /// when the file has no unknown token.
    void encode(std::string_view word, const Vocabulary& vocabulary, std::vector<ModelToken>& tokens) const;

private:
    struct Best;

    std::vector<Best> bestPieces(std::string_view word) const;
    void appendUnknown(std::string_view word, ModelToken run, std::vector<ModelToken>& tokens) const;

    static constexpr int noToken = -1;
    int m_unknown = noToken;
    ByteTokens m_bytes; // where unknown characters become bytes
    PieceTrie m_pieces;
    std::vector<double> m_scores; // [id]
    double m_unknownScore;
};

} // namespace fenlo::hub
