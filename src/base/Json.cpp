#include "base/Json.h"

#include <nlohmann/json.hpp>

namespace fenlo {

using nlohmann::json;
using nlohmann::ordered_json;

json parseJson(std::string_view text) {
    return json::parse(text, nullptr, false);
}

ordered_json parseOrderedJson(std::string_view text) {
    return ordered_json::parse(text, nullptr, false);
}

json parseJsonOrThrow(std::string_view text) {
    return json::parse(text);
}

std::string writeJson(const json& value, int indent) {
    return value.dump(indent, ' ', false, json::error_handler_t::replace);
}

std::string writeJson(const ordered_json& value, int indent) {
    return value.dump(indent, ' ', false, json::error_handler_t::replace);
}

std::string quoteJson(std::string_view text) {
    return json(text).dump(-1, ' ', true, json::error_handler_t::replace);
}

} // namespace fenlo
