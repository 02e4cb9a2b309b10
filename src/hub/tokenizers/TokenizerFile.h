#pragma once

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace fenlo::hub {

/// The content of one of a tokenizer's files.
/// Errors: TokenizerError for one that cannot be read or has more than 128 MiB.
std::string readTokenizerFile(const std::filesystem::path& file);

/// An object of JSON. `source` is what error texts call the file.
/// Errors: TokenizerError for other texts, nesting deeper than 64, and objects that have a key twice.
nlohmann::json parseTokenizerFile(std::string_view json, const std::string& source);

} // namespace fenlo::hub
