#pragma once

#include "platform/ResultCard.h"

#include <string>
#include <vector>

namespace fenlo {

/// Splits a text into web addresses and the text between them; joined, the parts are the text again. Punctuation of the
/// sentence around an address does not belong to it. Pure.
std::vector<TextPart> splitLinks(const std::string& text);

} // namespace fenlo
