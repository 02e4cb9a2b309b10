#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/Pattern.h"

#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// What happens to the separators at which text is split.
enum class SplitBehavior { removed, isolated, mergedWithPrevious, mergedWithNext, contiguous };

/// Errors: TokenizerError for an unknown name.
SplitBehavior readSplitBehavior(const JsonNode& node);

/// Appends the parts of `text` to `pieces`. With `inverted` the separators are what lies between the matches.
void splitAt(const Pattern& separator, SplitBehavior behavior, bool inverted, std::string_view text,
             std::vector<std::string>& pieces);

} // namespace fenlo::hub
