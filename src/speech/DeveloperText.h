#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace fenlo {

/// Whether code or commands are typed into the application.
bool isDeveloperTool(const std::optional<std::string>& appName);

/// Turns a dictated command into a written one: lower case, no closing punctuation, spoken quotes as quotes, and
/// misheard tools by their names.
std::string asCommand(std::string_view text);

} // namespace fenlo
