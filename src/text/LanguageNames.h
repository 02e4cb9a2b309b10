#pragma once

#include <string>

namespace fenlo {

/// The English name of a language, as the prompts call it. A code without a name stays as it is.
///
/// Threads: any; pure.
std::string languageName(const std::string& code);

} // namespace fenlo
