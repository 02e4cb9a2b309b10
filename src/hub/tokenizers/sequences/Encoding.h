#pragma once

#include "hub/tokenizers/TextRange.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace fenlo::hub {

/// A token and where it comes from.
struct EncodedToken {
    int id;
    TextRange range;  // bytes of its original text; empty at its place for what the text did not have, at 0 for what
                      // stands in no text
    int word;         // which of the words that the text was cut into, an added token being one; -1: none
    int typeId = 0;   // the segment, where a model tells them apart
    int sequence = 0; // the first or the second text; -1: added by a post-processor or padding
    bool isSpecial = false;
    bool isPadding = false;

    bool operator==(const EncodedToken&) const = default;
};

/// Some of the tokens of an encoding, one after the other.
struct TokenSpan {
    std::size_t begin; // index
    std::size_t end;

    bool operator==(const TokenSpan&) const = default;
};

/// The tokens of a text or of a pair of texts.
struct Encoding {
    std::vector<EncodedToken> tokens;
    std::vector<Encoding> overflow; // what truncation has cut off, in pieces of the same form

    std::vector<int> ids() const;

    /// The first token that covers the byte of the text; nothing where none does, as in blanks.
    std::optional<std::size_t> tokenAt(std::size_t byte, int sequence = 0) const;
    /// Which of the tokens belong to a word; nothing when truncation has cut it off.
    std::optional<TokenSpan> tokensOfWord(int word, int sequence = 0) const;
    /// The bytes of the text that the tokens of a word cover together.
    std::optional<TextRange> rangeOfWord(int word, int sequence = 0) const;
    /// The word that the byte of the text belongs to.
    std::optional<int> wordAt(std::size_t byte, int sequence = 0) const;
};

} // namespace fenlo::hub
