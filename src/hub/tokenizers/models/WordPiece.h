#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/TokenizerDocument.h"
#include "hub/tokenizers/models/ModelToken.h"
#include "hub/tokenizers/models/PieceTrie.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// The longest piece of the vocabulary that the word begins with, then the longest that the rest begins with, and so on
/// (Schuster and Nakajima, "Japanese and Korean Voice Search", 2012; Devlin et al., "BERT", 2019). Pieces within a word
/// have a prefix in the vocabulary. A word of which some part is no piece is the unknown token as a whole.
///
/// Threads: constant once made.
class WordPiece {
public:
    /// `node` is the file's member "model".
    /// Errors: TokenizerError for settings that do not fit together.
    WordPiece(const JsonNode& node, const TokenizerDocument& document);

    /// A word with more characters than the file allows is the unknown token.
    void encode(std::string_view word, const Vocabulary& vocabulary, std::vector<ModelToken>& tokens) const;

private:
    bool encodePieces(std::string_view word, std::vector<ModelToken>& tokens) const;

    PieceTrie m_pieces;
    std::optional<PieceTrie::Node> m_continuing; // where the pieces within words begin
    int m_unknown;
    std::size_t m_longestWord; // characters
};

} // namespace fenlo::hub
