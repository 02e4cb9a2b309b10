#pragma once

#include "base/Json.h"
#include "hub/tokenizers/Tokenizer.h"

#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace fenlo::hub::test {

using nlohmann::json;

/// A tokenizer file with these pieces, numbered from 0.
inline json smallFile(const std::vector<std::string>& pieces, const json& merges = json::array()) {
    json vocabulary = json::object();
    for (const std::string& piece : pieces)
        vocabulary[piece] = vocabulary.size();
    return {{"version", "1.0"},
            {"added_tokens", json::array()},
            {"normalizer", nullptr},
            {"pre_tokenizer", nullptr},
            {"decoder", {{"type", "Fuse"}}},
            {"model", {{"type", "BPE"}, {"vocab", vocabulary}, {"merges", merges}}}};
}

/// A vocabulary of pieces with their scores.
using Scores = std::vector<std::pair<std::string, double>>;

inline Tokenizer parsed(const json& file) {
    return Tokenizer::parse(writeJson(file), "small.json");
}

/// The pieces of the encoded text.
inline std::vector<std::string> piecesOf(const Tokenizer& tokenizer, const std::string& text) {
    std::vector<std::string> pieces;
    for (const int token : tokenizer.encode(text))
        pieces.push_back(tokenizer.idToToken(token).value());
    return pieces;
}

} // namespace fenlo::hub::test
