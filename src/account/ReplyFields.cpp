#include "account/ReplyFields.h"

#include "base/Json.h"
#include "base/Text.h"

#include <nlohmann/json.hpp>

namespace fenlo::replyFields {

namespace {

constexpr std::size_t longestText = 320; // characters: an e-mail address may have as many

} // namespace

nlohmann::json parse(std::string_view body) {
    return parseJson(text::repairUtf8(body));
}

std::optional<std::string> stringAt(const nlohmann::json& object, const char* name) {
    if (!object.is_object())
        return std::nullopt;
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? std::optional(found->get<std::string>()) : std::nullopt;
}

std::optional<std::string> textAt(const nlohmann::json& object, const char* name) {
    const auto found = stringAt(object, name);
    if (!found)
        return std::nullopt;
    return text::firstCharacters(text::join(text::words(text::withoutControls(*found)), " "), longestText);
}

} // namespace fenlo::replyFields
