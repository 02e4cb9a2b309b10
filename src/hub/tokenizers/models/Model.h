#pragma once

#include "hub/tokenizers/models/BytePairEncoding.h"
#include "hub/tokenizers/models/Unigram.h"
#include "hub/tokenizers/models/WordLevel.h"
#include "hub/tokenizers/models/WordPiece.h"

#include <string_view>
#include <variant>
#include <vector>

namespace fenlo::hub {

/// Turns words into tokens. Each of them has
///     void encode(std::string_view word, const Vocabulary& vocabulary, std::vector<ModelToken>& tokens) const
/// which appends the tokens of a word that is not empty and valid UTF-8, in order.
///
/// Threads: constant once made.
using Model = std::variant<BytePairEncoding, WordPiece, Unigram, WordLevel>;

/// `node` is the file's member "model". The first files of the format give no type: their members tell it.
/// Errors: TokenizerError for other types, and for settings that do not fit together.
Model readModel(const JsonNode& node, const TokenizerDocument& document);

/// `vocabulary` is the one of the document, perhaps with added tokens.
inline void encodeWord(const Model& model, std::string_view word, const Vocabulary& vocabulary,
                       std::vector<ModelToken>& tokens) {
    std::visit([&](const auto& it) { it.encode(word, vocabulary, tokens); }, model);
}

} // namespace fenlo::hub
