#pragma once

#include "platform/ResultCard.h"

#include <string>
#include <vector>

namespace fenlo {

/// Splits a text into its web addresses and what stands between them. The parts joined are the text again. Punctuation
/// that ends the sentence around an address is no part of it. Pure.
std::vector<TextPart> splitLinks(const std::string& text);

} // namespace fenlo
