#include "hub/tokenizers/models/WordLevel.h"

#include "hub/tokenizers/models/ModelSettings.h"

#include <cstdint>
#include <optional>

namespace fenlo::hub {

WordLevel::WordLevel(const JsonNode& node, const TokenizerDocument& document) : m_size(document.vocabulary.size()) {
    requireModel(node, document, "WordLevel", VocabularyForm::table);
    node.allowOnly({"type", "vocab", "unk_token"});
    m_unknown = requireUnknownToken(node, document.vocabulary);
}

void WordLevel::encode(std::string_view word, const Vocabulary& vocabulary, std::vector<ModelToken>& tokens) const {
    const std::optional<int> found = vocabulary.find(word);
    tokens.push_back({found && *found < m_size ? *found : m_unknown, 0, static_cast<std::uint32_t>(word.size())});
}

} // namespace fenlo::hub
