#include "hub/tokenizers/models/ModelSettings.h"

#include <algorithm>

namespace fenlo::hub {

namespace {

constexpr std::size_t longestPiece = 1024; // bytes

} // namespace

void requireModel(const JsonNode& node, const TokenizerDocument& document, std::string_view type, VocabularyForm form) {
    if (const JsonNode given = node.member("type"); !given.isNull() && given.string() != type)
        node.refuseType();
    if (document.form != form)
        node.member("vocab").fail("is missing or of a wrong form");
}

std::optional<int> readUnknownToken(const JsonNode& node, const Vocabulary& vocabulary) {
    const JsonNode unknown = node.member("unk_token");
    return unknown.isNull() ? std::nullopt : vocabulary.find(unknown.string());
}

int requireUnknownToken(const JsonNode& node, const Vocabulary& vocabulary) {
    const JsonNode unknown = node.member("unk_token");
    const std::string piece = unknown.string();
    const std::optional<int> token = vocabulary.find(piece);
    if (!token)
        unknown.fail("names the unknown piece " + inQuotes(piece));
    return *token;
}

std::vector<PieceTrie::Piece> triePieces(const JsonNode& node, const Vocabulary& vocabulary,
                                         const std::function<bool(int id)>& isLeftOut) {
    std::vector<PieceTrie::Piece> pieces;
    for (int id = 0; id < vocabulary.size(); ++id) {
        const auto piece = vocabulary.piece(id);
        if (!piece || piece->empty() || vocabulary.find(*piece) != id || isLeftOut(id))
            continue;
        if (piece->size() > longestPiece)
            node.member("vocab").refuse("has a piece longer than " + std::to_string(longestPiece) + " bytes");
        pieces.push_back({*piece, id});
    }
    return pieces;
}

ByteTokens::ByteTokens(const Vocabulary& vocabulary) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (std::size_t byte = 0; byte < m_tokens.size(); ++byte)
        m_tokens[byte] =
            vocabulary.find(std::string("<0x") + digits[byte >> 4U] + digits[byte & 15U] + '>').value_or(none);
}

bool ByteTokens::have(std::string_view bytes) const {
    return std::ranges::all_of(bytes, [this](char byte) { return of(byte) != none; });
}

bool ByteTokens::contain(int token) const {
    return token != none && std::ranges::find(m_tokens, token) != m_tokens.end();
}

} // namespace fenlo::hub
