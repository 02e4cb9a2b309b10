#pragma once

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

/// The JSON parts of a checkpoint: objects, read strictly.
namespace fenlo::whisper {

/// Errors: ModelDamage that calls the text `name`.
nlohmann::json parseModelJson(std::string_view text, const std::string& name);

/// Errors: ModelDamage with the path, also where there is no such file.
nlohmann::json readModelJson(const std::filesystem::path& file);

} // namespace fenlo::whisper
