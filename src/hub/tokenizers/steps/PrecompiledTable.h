#pragma once

#include "hub/tokenizers/AlignedText.h"
#include "hub/tokenizers/JsonNode.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// The normalizer "Precompiled", the table of SentencePiece (Kudo and Richardson, "SentencePiece: A simple and language
/// independent subword tokenizer", 2018): texts, and what each of them becomes. The setting "precompiled_charsmap" is
/// Base64 of the size of a trie, the trie and the replacements, each of which a NUL ends.
///
/// The trie is a double array (Aoe, "An Efficient Digital Search Algorithm by Using a Double-Array Structure", 1989) as
/// Darts lays it out. A unit of 32 bits has the byte that leads to it, whether a text ends here, and how far away its
/// children are; that distance and a byte, combined by exclusive or, are the child's number. The end of a text is the
/// child of byte 0, whose unit has the replacement's place.
///
/// Threads: constant once made.
class PrecompiledTable {
public:
    /// Errors: TokenizerError for what is no such table. A trie that leads outside of itself finds nothing there.
    static PrecompiledTable read(const JsonNode& node);

    /// Within each character that a person sees, a grapheme cluster, the longest text that the table has is replaced,
    /// again and again from its end on; what the table does not have stays.
    void apply(AlignedText& text) const;

    /// How many times longer a text can become.
    double growth() const;

private:
    struct Match {
        std::size_t size; // bytes
        std::string_view replacement;
    };

    /// The longest text of the table that `text` begins with.
    std::optional<Match> longestMatch(std::string_view text) const;
    std::optional<std::string_view> replacementAt(std::size_t place) const;
    void replaceWithin(const TextRange& character, AlignedTextWriter& writer) const;

    std::vector<std::uint32_t> m_trie;
    std::string m_replacements;
};

} // namespace fenlo::hub
