#pragma once

#include <string>
#include <string_view>

namespace fenlo::text {

/// The text as a search compares it: without case, accents, width and what is not seen. Letters of scripts whose vowels
/// are marks keep them.
///
/// Threads: any.
std::string searchKey(std::string_view text);

} // namespace fenlo::text
