#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/TokenizerDocument.h"
#include "hub/tokenizers/models/ModelToken.h"

#include <string_view>
#include <vector>

namespace fenlo::hub {

/// Every word is a token; one that is not in the vocabulary is the unknown token.
///
/// Threads: constant once made.
class WordLevel {
public:
    /// `node` is the file's member "model".
    /// Errors: TokenizerError for settings that do not fit together.
    WordLevel(const JsonNode& node, const TokenizerDocument& document);

    /// `vocabulary` is the one of the document, perhaps with added tokens.
    void encode(std::string_view word, const Vocabulary& vocabulary, std::vector<ModelToken>& tokens) const;

private:
    int m_unknown;
    int m_size; // of the vocabulary without the added tokens behind it, which are no words
};

} // namespace fenlo::hub
