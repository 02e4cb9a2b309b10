#pragma once

#include "settings/Config.h"

#include <string>

namespace fenlo {

/// What the user does for a living, in sentences for a language model; empty when they did not say.
///
/// Threads: any; pure.
std::string userProfileSentence(const Settings& settings);

} // namespace fenlo
