#pragma once

#include "settings/Config.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

/// The terms of a profession; empty when it has none. The function may be empty too.
using ProfessionTerms = std::function<std::vector<std::string>(const std::string& profession)>;

/// The prompt that biases the recogniser towards the user's words: vocabulary, terms of the profession and what was
/// said before, in at most 896 characters. A part that does not fit is left out whole. Empty when there is nothing.
std::string hintPrompt(const Settings& settings, const ProfessionTerms& professionTerms,
                       const std::optional<std::string>& hintText);

} // namespace fenlo
