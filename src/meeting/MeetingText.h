#pragma once

#include <string>
#include <string_view>

/// What becomes of the words of a chunk.
///
/// Threads: pure.
namespace fenlo {

/// Takes away "uh", "um", "you know" and their like, and blanks that are too many.
std::string stripFillers(std::string_view text);

/// Whether the text is nothing, or one of the short phrases that recognisers invent in silence. In a meeting a real
/// "yes" is rarer than an invented one, so it counts too.
bool isLowValue(std::string_view text);

} // namespace fenlo
