#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

/// Fields of the replies to a sign-in.
namespace fenlo::replyFields {

/// The reply, or something that is no object when it is none.
nlohmann::json parse(std::string_view body);

/// The field as it stands; nothing when it is missing or no string.
std::optional<std::string> stringAt(const nlohmann::json& object, const char* name);

/// A text for people: on one line, without control characters, and of a length that fits the screen. As stringAt().
std::optional<std::string> textAt(const nlohmann::json& object, const char* name);

} // namespace fenlo::replyFields
