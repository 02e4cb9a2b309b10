#pragma once

#include "hub/tokenizers/AlignedText.h"
#include "hub/tokenizers/JsonNode.h"

#include <functional>
#include <vector>

namespace fenlo::hub {

/// Brings text into the form that the vocabulary is written in. Null, Sequence, and
///     BertNormalizer                         see BertText
///     NFC, NFD, NFKC, NFKD, Lowercase        see UnicodeForms
///     StripAccents                           without marks (category M); accents must be apart, as in NFD
///     Strip, Prepend, Replace                white space off the ends; a text before the text; another for each match
///     Precompiled                            see PrecompiledTable
///     Nmt                                    the rules of SentencePiece's "nmt": controls go, odd blanks become blanks
///     ByteLevel                              see ByteLetters
class Normalizer {
public:
    /// Errors: TokenizerError for anything else.
    static Normalizer read(const JsonNode& node);

    /// `text` is valid UTF-8.
    void apply(AlignedText& text) const;

private:
    std::vector<std::function<void(AlignedText&)>> m_steps;
};

} // namespace fenlo::hub
