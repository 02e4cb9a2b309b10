#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/TextRange.h"

#include <span>
#include <vector>

namespace fenlo::hub {

/// What happens to the separators at which text is split.
enum class SplitBehavior { removed, isolated, mergedWithPrevious, mergedWithNext, contiguous };

/// Errors: TokenizerError for an unknown name.
SplitBehavior readSplitBehavior(const JsonNode& node);

struct SplitRule {
    SplitBehavior behavior;
    bool inverted = false; // the separators are what lies between the matches
};

/// Appends what the range becomes to `parts`. The matches lie in it, in order; an empty one is a place to split at.
void splitAt(std::span<const TextRange> matches, const SplitRule& rule, const TextRange& range,
             std::vector<TextRange>& parts);

} // namespace fenlo::hub
