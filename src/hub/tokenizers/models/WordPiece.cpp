#include "hub/tokenizers/models/WordPiece.h"

#include "hub/tokenizers/models/ModelSettings.h"
#include "hub/tokenizers/steps/Steps.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

namespace fenlo::hub {

WordPiece::WordPiece(const JsonNode& node, const TokenizerDocument& document)
    : m_pieces(triePieces(node, document.vocabulary, [](int) { return false; })) {
    requireModel(node, document, "WordPiece", VocabularyForm::table);
    node.allowOnly({"type", "vocab", "unk_token", "continuing_subword_prefix", "max_input_chars_per_word"});
    m_unknown = requireUnknownToken(node, document.vocabulary);
    const JsonNode prefix = node.member("continuing_subword_prefix");
    m_continuing = m_pieces.follow(prefix.isNull() ? "##" : shortText(prefix));
    const JsonNode longest = node.member("max_input_chars_per_word");
    m_longestWord = static_cast<std::size_t>(longest.isNull() ? 100 : longest.integer(std::numeric_limits<int>::max()));
}

void WordPiece::encode(std::string_view word, const Vocabulary&, std::vector<ModelToken>& tokens) const {
    const std::size_t before = tokens.size();
    const auto isLead = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; };
    if (std::cmp_less_equal(std::ranges::count_if(word, isLead), m_longestWord) && encodePieces(word, tokens))
        return;
    tokens.resize(before);
    tokens.push_back({m_unknown, 0, static_cast<std::uint32_t>(word.size())});
}

bool WordPiece::encodePieces(std::string_view word, std::vector<ModelToken>& tokens) const {
    for (std::size_t begin = 0; begin < word.size();) {
        ModelToken longest{PieceTrie::noPiece, static_cast<std::uint32_t>(begin), 0};
        std::optional<PieceTrie::Node> node = begin == 0 ? PieceTrie::root : m_continuing;
        for (std::size_t end = begin; node && end < word.size();) {
            node = m_pieces.child(*node, word[end++]);
            if (node && m_pieces.pieceAt(*node) != PieceTrie::noPiece) {
                longest.id = m_pieces.pieceAt(*node);
                longest.end = static_cast<std::uint32_t>(end);
            }
        }
        if (longest.id == PieceTrie::noPiece)
            return false;
        tokens.push_back(longest);
        begin = longest.end;
    }
    return true;
}

} // namespace fenlo::hub
