#include "hub/tokenizers/AddedTokenTable.h"

#include "hub/tokenizers/JsonNode.h"

#include <nlohmann/json.hpp>

namespace fenlo::hub {

void AddedTokenTable::add(const AddedToken& token, const std::string& source, const std::string& place) {
    const auto failWith = [&](std::string_view other, int id) {
        failDocument(source, place,
                     "gives " + inQuotes(token.content) + " the id " + std::to_string(token.id) + ", while " +
                         inQuotes(other) + " has the id " + std::to_string(id));
    };
    if (const std::optional<int> known = idOf(token.content); known && *known != token.id)
        failWith(token.content, *known);
    if (const auto piece = m_vocabulary.piece(token.id); piece && *piece != token.content)
        failWith(*piece, token.id);
    const auto [known, isNew] = m_tokens.try_emplace(token.id, token);
    if (known->second.content != token.content)
        failWith(known->second.content, token.id);
    m_ids.try_emplace(token.content, token.id);
}

std::optional<int> AddedTokenTable::idOf(std::string_view content) const {
    const auto added = m_ids.find(content);
    return added != m_ids.end() ? std::optional(added->second) : m_vocabulary.find(content);
}

nlohmann::json AddedTokenTable::toJson() const {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& [id, token] : m_tokens)
        list.push_back({{"id", id},
                        {"content", token.content},
                        {"single_word", token.singleWord},
                        {"lstrip", token.lstrip},
                        {"rstrip", token.rstrip},
                        {"normalized", token.normalized},
                        {"special", token.special}});
    return list;
}

} // namespace fenlo::hub
