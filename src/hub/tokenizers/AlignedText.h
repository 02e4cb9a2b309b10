#pragma once

#include "hub/tokenizers/TextRange.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// Text of which every byte knows which bytes of the original it comes from, where that is asked for. The original has
/// less than 4 GiB.
class AlignedText {
public:
    /// Without origins, which is as fast as a string.
    static AlignedText plain(std::string text);
    /// Each byte stands for itself; the first one stands at `begin` of the original.
    static AlignedText tracked(std::string text, std::size_t begin = 0);

    const std::string& text() const { return m_text; }
    bool isTracked() const { return m_isTracked; }

    struct Edit {
        std::size_t begin; // bytes of text()
        std::size_t end;
        std::string replacement;
    };
    /// In order, none within another. Every byte of a replacement comes from all that it replaces; what replaces
    /// nothing is inserted, and comes from an empty range where the next byte begins.
    void apply(std::span<const Edit> edits);

    AlignedText part(std::size_t begin, std::size_t end) const;

    /// The bytes of the original that these bytes come from, without those that were only inserted: an empty range at
    /// its place when all were. Ranges of a later part never begin before those of an earlier one. Empty at 0 for
    /// a text without origins.
    TextRange origin(std::size_t begin, std::size_t end) const;

private:
    friend class AlignedTextWriter;

    struct Origin {
        std::uint32_t begin;
        std::uint32_t end;
    };

    /// Where something stands that is inserted before the byte.
    std::uint32_t placeOf(std::size_t at) const;

    std::string m_text;
    std::vector<Origin> m_origins; // [byte], of a tracked text
    std::uint32_t m_begin = 0;     // where an empty text stands
    bool m_isTracked = false;
};

/// Writes a text anew in one pass, from its begin to its end.
///
/// Lifetime: the text must not be used before finish().
class AlignedTextWriter {
public:
    explicit AlignedTextWriter(AlignedText& text);

    const std::string& oldText() const { return m_text.m_text; }
    /// Takes over the bytes of the old text up to `end`.
    void keep(std::size_t end);
    /// Writes `replacement` for those up to `end`.
    void replace(std::size_t end, std::string_view replacement);
    /// Writes something that comes from nothing.
    void insert(std::string_view text) { replace(m_done, text); }

    /// The bytes of the old text that are done, and those of the new one.
    std::size_t done() const { return m_done; }
    std::size_t size() const { return m_new.m_text.size(); }

    /// Keeps what is left of the old text, and gives it the new content.
    void finish();

private:
    AlignedText& m_text;
    AlignedText m_new;
    std::size_t m_done = 0;
};

} // namespace fenlo::hub
