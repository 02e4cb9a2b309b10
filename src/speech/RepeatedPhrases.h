#pragma once

#include <string>
#include <string_view>

namespace fenlo {

/// Keeps one copy of a phrase of two to five words that is repeated three times or more in a row. Two copies are
/// natural speech and stay, and so do repeats of a single word.
std::string collapseRepeats(std::string_view text);

} // namespace fenlo
