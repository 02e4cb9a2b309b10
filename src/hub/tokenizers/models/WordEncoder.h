#pragma once

#include "hub/tokenizers/models/Model.h"
#include "hub/tokenizers/models/Vocabulary.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// Turns the words of one text into tokens. Most words of a long text come again, so it keeps the tokens of the first
/// ones, of a few megabytes at most.
///
/// Threads:  one.
/// Lifetime: model and vocabulary must outlive it.
class WordEncoder {
public:
    /// `textSize` is that of the whole text, in bytes: a short one has too few words to keep any.
    WordEncoder(const Model& model, const Vocabulary& vocabulary, std::size_t textSize);

    /// The tokens of the word, until the next call.
    std::span<const ModelToken> encode(std::string_view word);

private:
    const Model& m_model;
    const Vocabulary& m_vocabulary;
    std::optional<Vocabulary> m_kept;    // words by their number; none for a short text
    std::vector<ModelToken> m_tokens;    // of the kept words
    std::vector<std::uint32_t> m_begins; // [number], where those of a word begin; one more at the end
    std::vector<ModelToken> m_last;      // of a word that is not kept
};

} // namespace fenlo::hub
