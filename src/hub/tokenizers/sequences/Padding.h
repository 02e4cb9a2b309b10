#pragma once

#include "hub/tokenizers/sequences/Encoding.h"
#include "hub/tokenizers/sequences/Side.h"

#include <optional>
#include <span>
#include <string>

namespace fenlo::hub {

/// Fills up sequences, so that those of a batch have one length. Longer ones stay as they are.
struct Padding {
    std::optional<std::size_t> length = {}; // tokens; nothing: that of the longest of the batch
    std::size_t multipleOf = 1;             // the length is rounded up to a multiple of this; 0 is 1
    Side side = Side::right;                // where padding stands
    int id = 0;
    int typeId = 0;
    std::string token = "[PAD]"; // the text of the id

    /// `node` is the file's member "padding".
    /// Errors: TokenizerError for unknown settings, and for lengths of more than a million.
    static Padding read(const JsonNode& node);
};

/// Pads the encodings and what truncation has cut off from them.
/// Errors: TokenizerError when all together would have more than 67 million tokens.
void pad(std::span<Encoding> batch, const Padding& padding);

} // namespace fenlo::hub
