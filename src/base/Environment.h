#pragma once

#include <string>
#include <vector>

namespace fenlo {

/// The value of an environment variable; `otherwise` when it is unset or empty.
///
/// Threads: any. The program never changes its own environment.
std::string environment(const char* variable, const std::string& otherwise = "");

/// The variables, as "NAME=value", for a program of somebody else's: without the keys of services, which are none of
/// its business.
std::vector<std::string> environmentForOthers();
/// The names of those that are left out.
std::vector<std::string> variablesNotForOthers();

} // namespace fenlo
