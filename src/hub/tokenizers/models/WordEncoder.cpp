#include "hub/tokenizers/models/WordEncoder.h"

namespace fenlo::hub {

namespace {

constexpr std::size_t smallText = 1024; // bytes
constexpr std::size_t longestKept = 64; // bytes; longer words hardly come again
constexpr int mostKept = 1 << 14;

} // namespace

WordEncoder::WordEncoder(const Model& model, const Vocabulary& vocabulary, std::size_t textSize)
    : m_model(model), m_vocabulary(vocabulary) {
    if (textSize <= smallText)
        return;
    m_kept.emplace();
    m_begins.push_back(0);
}

std::span<const ModelToken> WordEncoder::encode(std::string_view word) {
    const bool maybeKept = m_kept && word.size() <= longestKept;
    if (const std::optional<int> number = maybeKept ? m_kept->find(word) : std::nullopt) {
        const auto* const begin = &m_begins[static_cast<std::size_t>(*number)];
        return std::span(m_tokens).subspan(begin[0], begin[1] - begin[0]);
    }
    m_last.clear();
    encodeWord(m_model, word, m_vocabulary, m_last);
    if (maybeKept && m_kept->size() < mostKept) {
        m_kept->add(word, m_kept->size());
        m_tokens.insert(m_tokens.end(), m_last.begin(), m_last.end());
        m_begins.push_back(static_cast<std::uint32_t>(m_tokens.size()));
    }
    return m_last;
}

} // namespace fenlo::hub
