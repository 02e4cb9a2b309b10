#include "base/Environment.h"

#include <cstdlib>

namespace fenlo {

std::string environment(const char* variable, const std::string& otherwise) {
    const char* const value = std::getenv(variable);
    return value && *value ? value : otherwise;
}

} // namespace fenlo
