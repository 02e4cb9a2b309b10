#pragma once

#include "hub/tokenizers/JsonNode.h"

namespace fenlo::hub {

/// Where something is cut off or put on.
enum class Side { left, right };

/// "Left" or "Right"; null is `whenMissing`.
/// Errors: TokenizerError for anything else.
Side readSide(const JsonNode& node, Side whenMissing);

} // namespace fenlo::hub
