#pragma once

#include "hub/tokenizers/JsonNode.h"
#include "hub/tokenizers/TokenizerDocument.h"
#include "hub/tokenizers/models/PieceTrie.h"

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What the models have in common. `node` is the file's member "model".
namespace fenlo::hub {

/// Refuses a model that is not of this type, or whose vocabulary is missing or of another form.
void requireModel(const JsonNode& node, const TokenizerDocument& document, std::string_view type, VocabularyForm form);

/// The token of the member "unk_token"; none where it is missing, null or no piece of the vocabulary, as in byte-level
/// files, which never need it.
std::optional<int> readUnknownToken(const JsonNode& node, const Vocabulary& vocabulary);
/// The same for models that cannot do without.
/// Errors: TokenizerError when there is none.
int requireUnknownToken(const JsonNode& node, const Vocabulary& vocabulary);

/// The pieces for a trie: all but the empty one and those that `isLeftOut` names. A vocabulary with a piece longer than
/// 1024 bytes is refused, which bounds the work on each character of a text.
std::vector<PieceTrie::Piece> triePieces(const JsonNode& node, const Vocabulary& vocabulary,
                                         const std::function<bool(int id)>& isLeftOut);

/// The bytes of the character that begins with this one.
inline std::size_t characterLength(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    return byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

/// The tokens of single bytes, "<0x00>" to "<0xFF>", which stand for the characters that a vocabulary lacks.
class ByteTokens {
public:
    ByteTokens() { m_tokens.fill(none); }
    explicit ByteTokens(const Vocabulary& vocabulary);

    /// Whether there is a token for each of the bytes.
    bool have(std::string_view bytes) const;
    int of(char byte) const { return m_tokens[static_cast<unsigned char>(byte)]; }
    /// Whether this is one of them.
    bool contain(int token) const;

private:
    static constexpr int none = -1;
    std::array<int, 256> m_tokens;
};

} // namespace fenlo::hub
