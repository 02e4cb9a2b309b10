#pragma once

#include "hub/tokenizers/JsonNode.h"

#include <functional>
#include <string>
#include <vector>

namespace fenlo::hub {

/// Brings text into the form that the vocabulary is written in. Null, Sequence, NFC, NFD, NFKC, NFKD, Lowercase, Strip,
/// StripAccents, Replace, Prepend.
class Normalizer {
public:
    /// Errors: TokenizerError for anything else.
    static Normalizer read(const JsonNode& node);

    /// `text` is valid UTF-8.
    std::string apply(std::string text) const;

private:
    std::vector<std::function<std::string(const std::string&)>> m_steps;
};

} // namespace fenlo::hub
