#pragma once

#include <string>
#include <string_view>

namespace fenlo {

/// Keeps one copy of a phrase of two to five words that stands three times or more in a row. Two copies are natural
/// speech and stay, and so does a single word repeated.
std::string collapseRepeats(std::string_view text);

} // namespace fenlo
