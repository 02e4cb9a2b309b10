#pragma once

#include "hub/tokenizers/sequences/Encoding.h"
#include "hub/tokenizers/sequences/Side.h"

#include <optional>

namespace fenlo::hub {

/// How long the tokens of a text or a pair may be at most, and what is cut off.
struct Truncation {
    enum class Strategy {
        longestFirst, // the longer one of a pair, until both are of one length, then both
        onlyFirst,
        onlySecond
    };

    std::size_t maxLength = 512; // tokens, with those that a post-processor adds
    Strategy strategy = Strategy::longestFirst;
    std::size_t stride = 0;    // how many tokens a part repeats of the one before; at most all but one
    Side side = Side::right;   // where tokens are cut off
    bool keepsOverflow = true; // in Encoding::overflow

    /// `node` is the file's member "truncation".
    /// Errors: TokenizerError for unknown settings.
    static Truncation read(const JsonNode& node);
};

/// The tokens of a text, and those of the second one of a pair, before they are joined.
struct Sequences {
    Encoding first;
    std::optional<Encoding> second;
};

/// Cuts the sequences, so that they have `room` tokens together. What is cut off becomes the overflow of each.
/// Errors: TokenizerError when the strategy forbids to cut what would have to be cut, and for a stride that would give
///         more than 16 million tokens.
void truncate(Sequences& sequences, const Truncation& truncation, std::size_t room);

/// The most tokens that all parts of a text may have together.
inline constexpr std::size_t mostOverflowTokens = 1U << 24U;
[[noreturn]] void failOverflow();

} // namespace fenlo::hub
