#pragma once

#include <string>

namespace fenlo {

/// The English name of a language, as the prompts call it. A code without a name is its own.
///
/// Threads: any; pure.
std::string languageName(const std::string& code);

} // namespace fenlo
