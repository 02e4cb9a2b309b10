#pragma once

#include "hub/tokenizers/Vocabulary.h"

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fenlo::hub {

/// A tokenizer file as it is read. Nearly all of it is the vocabulary and the merges, which go straight into their
/// tables: as a tree of JSON values they would take four times as long.
struct TokenizerDocument {
    nlohmann::json settings; // all but model.vocab and model.merges
    Vocabulary vocabulary;
    std::vector<std::pair<std::string, std::string>> merges; // the best first
};

/// Errors: TokenizerError for what is not JSON, nested deeper than 64, or has a key twice, and for pieces, ids and
///         merges of a wrong form.
TokenizerDocument readTokenizerDocument(std::string_view json, const std::string& source);

} // namespace fenlo::hub
