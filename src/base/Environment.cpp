#include "base/Environment.h"

#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace fenlo {

namespace {

std::string_view nameIn(std::string_view variable) {
    return variable.substr(0, variable.find('='));
}

bool isKey(std::string_view name) {
    return name.ends_with("_API_KEY");
}

} // namespace

std::string environment(const char* variable, const std::string& otherwise) {
    const char* const value = std::getenv(variable);
    return value && *value ? value : otherwise;
}

std::vector<std::string> environmentForOthers() {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable; ++variable)
        if (!isKey(nameIn(*variable)))
            variables.emplace_back(*variable);
    return variables;
}

std::vector<std::string> variablesNotForOthers() {
    std::vector<std::string> names;
    for (char** variable = environ; *variable; ++variable)
        if (const std::string_view name = nameIn(*variable); isKey(name))
            names.emplace_back(name);
    return names;
}

} // namespace fenlo
