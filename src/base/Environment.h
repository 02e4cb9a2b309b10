#pragma once

#include <string>

namespace fenlo {

/// The value of an environment variable; `otherwise` when it is unset or empty.
///
/// Threads: any. The program never changes its own environment.
std::string environment(const char* variable, const std::string& otherwise = "");

} // namespace fenlo
