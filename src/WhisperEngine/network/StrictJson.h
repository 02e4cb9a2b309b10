#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace fenlo::whisper {

/// Parses JSON that came from outside: an object, no key twice, nested at most sixteen deep.
/// Errors: modelFault that calls the text `name`.
nlohmann::json parseStrictJson(std::string_view text, const std::string& name);

/// The same for a whole file.
nlohmann::json readStrictJson(const std::filesystem::path& file);

} // namespace fenlo::whisper
