#pragma once

#include "hub/templates/Runtime.h"

#include <optional>
#include <string>
#include <string_view>

/// Values as text, and numbers that texts tell. Texts grow by Runtime::put.
namespace fenlo::hub::templates {

/// As Python's str() prints it. Undefined prints as nothing.
void print(Runtime& run, const Value& value, std::string& out);

/// The value itself where it is a text, otherwise what it prints as.
const Text& toText(Runtime& run, const Value& value);

/// What the items print as, with the separator between.
Value joined(Runtime& run, const std::vector<Value>& items, std::string_view separator);

struct JsonStyle {
    std::optional<std::string> indent; // of one level; everything stands on one line without it
    std::string between = ", ", afterKey = ": ";
    bool escapesNonAscii = false;
    bool sortsKeys = false;
};

/// As Python's json.dumps() writes it.
void printJson(Runtime& run, const Value& value, const JsonStyle& style, std::string& out);

/// The number that the text is; white space and a plus sign may stand around and before it.
std::optional<std::int64_t> parseInteger(std::string_view text, int base = 10);
std::optional<double> parseFloat(std::string_view text);

} // namespace fenlo::hub::templates
