#pragma once

#include "hub/tokenizers/models/Vocabulary.h"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// Two pieces that are joined.
struct MergeText {
    std::string both;
    std::size_t leftSize; // bytes

    std::string_view left() const { return std::string_view(both).substr(0, leftSize); }
    std::string_view right() const { return std::string_view(both).substr(leftSize); }
};

/// How a file writes its vocabulary: ids by piece, or a list of pieces with their scores.
enum class VocabularyForm { missing, table, list };

/// The content of a tokenizer file. Vocabulary and merges, nearly all of it, are read straight into their tables: as a
/// tree of JSON values they would take four times as long.
struct TokenizerDocument {
    nlohmann::json settings; // all but model.vocab and model.merges
    VocabularyForm form = VocabularyForm::missing;
    Vocabulary vocabulary;
    std::vector<double> scores;    // [id], of a list
    std::vector<MergeText> merges; // the best first
};

/// Errors: TokenizerError for what is not JSON, nested deeper than 64, or has a key twice, and for pieces, ids and
///         merges of a wrong form.
TokenizerDocument readTokenizerDocument(std::string_view json, const std::string& source);

} // namespace fenlo::hub
