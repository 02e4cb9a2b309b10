#include "hub/tokenizers/JsonNode.h"

#include "base/Log.h"
#include "hub/tokenizers/Tokenizer.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>

namespace fenlo::hub {

namespace {

const nlohmann::json null;

/// Members that cannot change a token, wherever they stand.
struct HarmlessMember {
    std::string_view name;
    std::string_view reason;
};

constexpr std::string_view training = "is about the training of the vocabulary, which is done";
constexpr std::string_view speed = "is about speed";
constexpr std::string_view description = "describes the file";

constexpr HarmlessMember harmlessMembers[]{
    {"vocab_size", training},       {"min_frequency", training},
    {"limit_alphabet", training},   {"initial_alphabet", training},
    {"max_token_length", training}, {"shrinking_factor", training},
    {"seed_size", training},        {"n_sub_iterations", training},
    {"max_piece_length", training}, {"show_progress", training},
    {"cache_capacity", speed},      {"name", description},
    {"description", description},   {"comment", description},
    {"license", description},       {"author", description},
    {"url", description},           {"metadata", description},
    {"created_by", description},    {"library_version", description},
};

constexpr std::size_t mostLeftOut = 20; // names in the log

/// Why the member may be left out; nothing for one that may not.
std::optional<std::string_view> whyHarmless(std::string_view key, const nlohmann::json& value) {
    if (value.is_null())
        return "is not set";
    if (key.starts_with('_'))
        return "is a note of the program that wrote the file";
    const auto* const found = std::ranges::find(harmlessMembers, key, &HarmlessMember::name);
    return found != std::end(harmlessMembers) ? std::optional(found->reason) : std::nullopt;
}

} // namespace

void failDocument(const std::string& source, const std::string& place, const std::string& fault) {
    const std::string damage = source + ": " + (place.empty() ? "" : place + " ") + fault;
    throw TokenizerError(damage + "; download the model again", damage);
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
    return {found == m_value->end() ? null : *found, m_place.empty() ? key : m_place + "." + key, *m_source, m_leftOut};
}

std::vector<JsonNode> JsonNode::items() const {
    if (!m_value->is_array())
        fail("is no list");
    std::vector<JsonNode> items;
    items.reserve(m_value->size());
    for (const nlohmann::json& item : *m_value)
        items.push_back({item, m_place + "[" + std::to_string(items.size()) + "]", *m_source, m_leftOut});
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
    if (!m_value->is_number_integer() || m_value->get<std::int64_t>() < 0 || m_value->get<std::int64_t>() > maximum)
        fail("is no whole number from 0 to " + std::to_string(maximum));
    return m_value->get<int>();
}

std::string JsonNode::type() const {
    return member("type").string();
}

void JsonNode::refuseType() const {
    refuse("is of the unknown type " + inQuotes(type()));
}

void JsonNode::allowOnly(const std::vector<std::string_view>& keys) const {
    for (const auto& [key, value] : m_value->items()) {
        if (std::ranges::count(keys, std::string_view(key)) != 0)
            continue;
        const std::optional<std::string_view> reason = whyHarmless(key, value);
        if (!reason)
            refuse("has the unknown setting " + inQuotes(key));
        leaveOut(key, *reason);
    }
}

void JsonNode::leaveOut(const std::string& key, std::string_view reason) const {
    if (m_leftOut->size() < mostLeftOut && m_leftOut->insert(key).second)
        logInfo("{}: {}{} is left out: it {}", *m_source, m_place.empty() ? "" : m_place + ".", inQuotes(key), reason);
}

} // namespace fenlo::hub
