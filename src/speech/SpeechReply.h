#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

/// Reads the replies of the speech services. A reply in any unexpected form throws TranscriberError invalidResponse,
/// which names the service.
namespace fenlo::speechReply {

/// The reply as a JSON object with valid text in it.
nlohmann::json parse(std::string_view body, std::string_view service);

/// The string at the name, without whitespace and newlines around it.
std::string textAt(const nlohmann::json& object, const char* name, std::string_view service);

/// The number at the name; `otherwise` where there is none.
double numberAt(const nlohmann::json& object, const char* name, double otherwise);

} // namespace fenlo::speechReply
