#include "settings/ApiKey.h"

#include "base/Environment.h"
#include "base/Text.h"

namespace fenlo::apiKey {

namespace {

constexpr std::size_t shownErrorCharacters = 500;

} // namespace

std::string clean(std::string_view key) {
    return text::trimWhitespaceAndNewlines(key);
}

std::string fromEnvironment(const char* variable) {
    return clean(environment(variable));
}

std::string valueOf(const std::map<std::string, std::string>& configuration, const char* name) {
    const auto found = configuration.find(name);
    return found == configuration.end() ? std::string() : clean(found->second);
}

std::string describeError(std::string_view service, int status, std::string_view body, std::string_view key) {
    const bool isText = text::repairUtf8(body) == body;
    const std::string shown = isText ? text::replaceAll(body, key, "<key>") : "unknown";
    return std::string(service) + " API error " + std::to_string(status) + ": " +
           text::join(text::words(text::firstCharacters(shown, shownErrorCharacters)), " ");
}

} // namespace fenlo::apiKey
