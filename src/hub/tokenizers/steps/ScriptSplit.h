#pragma once

#include "hub/tokenizers/TextRange.h"

#include <string>
#include <vector>

namespace fenlo::hub {

/// Appends the parts of the range in which the script (Unicode Standard Annex 24) stays the same, to `parts`. Kana
/// counts as Han, since Japanese words mix them. A blank belongs to what is before it, and to no part at the beginning.
void splitAtScripts(const std::string& text, const TextRange& range, std::vector<TextRange>& parts);

} // namespace fenlo::hub
