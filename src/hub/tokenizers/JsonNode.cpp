#include "hub/tokenizers/JsonNode.h"

#include "base/Json.h"
#include "hub/tokenizers/Tokenizer.h"

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>

namespace fenlo::hub {

namespace {

const nlohmann::json null;

} // namespace

void failDocument(const std::string& source, const std::string& place, const std::string& fault) {
    const std::string damage = source + ": " + (place.empty() ? "" : place + " ") + fault;
    throw TokenizerError(damage + "; download the model again", damage);
}

std::string inQuotes(std::string_view text) {
    return quoteJson(text.substr(0, 60));
}

void JsonNode::fail(const std::string& fault) const {
    failDocument(*m_source, m_place, fault);
}

void JsonNode::refuse(const std::string& fault) const {
    throw TokenizerError(*m_source + ": " + m_place + " " + fault + "; use another model");
}

bool JsonNode::isNull() const {
    return m_value->is_null();
}

bool JsonNode::has(const std::string& key) const {
    return m_value->is_object() && m_value->contains(key);
}

JsonNode JsonNode::member(const std::string& key) const {
    if (!m_value->is_object())
        fail("is no object");
    const auto found = m_value->find(key);
    return {found == m_value->end() ? null : *found, m_place.empty() ? key : m_place + "." + key, *m_source};
}

std::vector<JsonNode> JsonNode::items() const {
    if (!m_value->is_array())
        fail("is no list");
    std::vector<JsonNode> items;
    items.reserve(m_value->size());
    for (const nlohmann::json& item : *m_value)
        items.emplace_back(item, m_place + "[" + std::to_string(items.size()) + "]", *m_source);
    return items;
}

std::string JsonNode::string() const {
    if (!m_value->is_string())
        fail("is no text");
    return m_value->get<std::string>();
}

bool JsonNode::boolean(bool whenMissing) const {
    if (isNull())
        return whenMissing;
    if (!m_value->is_boolean())
        fail("is neither true nor false");
    return m_value->get<bool>();
}

int JsonNode::integer(int maximum) const {
    if (!m_value->is_number_unsigned() || m_value->get<std::uint64_t>() > static_cast<std::uint64_t>(maximum))
        fail("is no whole number from 0 to " + std::to_string(maximum));
    return m_value->get<int>();
}

bool JsonNode::isZero() const {
    return m_value->is_number() && m_value->get<double>() == 0.0;
}

std::string JsonNode::type() const {
    return member("type").string();
}

void JsonNode::refuseType() const {
    refuse("is of the unknown type " + inQuotes(type()));
}

void JsonNode::allowOnly(const std::vector<std::string_view>& keys) const {
    for (const auto& [key, value] : m_value->items())
        if (std::ranges::count(keys, std::string_view(key)) == 0)
            refuse("has the unknown setting " + inQuotes(key));
}

} // namespace fenlo::hub
