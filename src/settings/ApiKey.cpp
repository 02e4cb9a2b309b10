#include "settings/ApiKey.h"

#include "base/Text.h"

namespace fenlo::apiKey {

namespace {

constexpr std::size_t shownErrorCharacters = 500;

} // namespace

std::string clean(std::string_view key) {
    return text::trimWhitespaceAndNewlines(key);
}

std::string describeError(std::string_view service, int status, std::string_view body, std::string_view key) {
    const bool isText = text::repairUtf8(body) == body;
    const std::string shown = isText ? text::replaceAll(body, key, "<key>") : "unknown";
    return std::string(service) + " API error " + std::to_string(status) + ": " +
           text::join(text::words(text::firstCharacters(shown, shownErrorCharacters)), " ");
}

/// A wrong key is a bad request to some of them.
bool isRefused(int status, std::string_view body) {
    const auto says = [&](std::string_view words) { return body.find(words) != std::string_view::npos; };
    return status == 401 || status == 403 || (status == 400 && (says("API_KEY_INVALID") || says("Incorrect API key")));
}

} // namespace fenlo::apiKey
