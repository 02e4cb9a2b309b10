#include "base/Environment.h"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace fenlo {

std::string environment(const char* variable, const std::string& otherwise) {
    const char* const value = std::getenv(variable);
    return value && *value ? value : otherwise;
}

std::vector<std::string> environmentForOthers() {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable; ++variable) {
        const std::string_view text = *variable;
        if (!text.substr(0, text.find('=')).ends_with("_API_KEY"))
            variables.emplace_back(text);
    }
    return variables;
}

} // namespace fenlo
