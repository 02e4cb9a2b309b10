#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

/// JSON texts in and out. Parser and writer are compiled in one place, since every file that has them takes seconds.
namespace fenlo {

/// The value of a JSON text, or one that `is_discarded()` when the text is no JSON.
nlohmann::json parseJson(std::string_view text);
/// The same with the members of objects in the order of the text.
nlohmann::ordered_json parseOrderedJson(std::string_view text);
/// Throws the library's exception, which says what is wrong and where, when the text is no JSON.
nlohmann::json parseJsonOrThrow(std::string_view text);

/// On one line, or with so many blanks for each level. Ill-formed UTF-8 is written as U+FFFD.
std::string writeJson(const nlohmann::json& value, int indent = -1);
std::string writeJson(const nlohmann::ordered_json& value, int indent = -1);

/// The text as a JSON string in ASCII, which stays on one line whatever the text is.
std::string quoteJson(std::string_view text);
/// The same for an error text: cut short.
std::string inQuotes(std::string_view text);

} // namespace fenlo
