#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// Pieces and their ids, both ways.
///
/// Most of the time of reading a tokenizer file goes into looking up pieces. So they lie one behind the other in one
/// text, with a hash table with open addressing.
class Vocabulary {
public:
    /// Ids go up to here; the largest published vocabularies have some 260,000. It bounds the table by id.
    static constexpr int maximumId = (1 << 22) - 1;

    /// False, with nothing added, when the piece or the id is taken. `id` is from 0 to maximumId.
    bool add(std::string_view piece, int id);

    /// As add(), but a piece that is there already gets this id too, which find() gives from then on: so do lists that
    /// name a piece twice. False when the id is taken.
    bool addLater(std::string_view piece, int id);

    std::optional<int> find(std::string_view piece) const;
    /// Valid until the next add().
    std::optional<std::string_view> piece(int id) const;
    /// One more than the largest id.
    int size() const { return static_cast<int>(m_pieces.size()); }

private:
    struct Piece {
        std::uint32_t begin = 0; // in m_text
        std::uint32_t size = 0;
        bool isThere = false;
    };
    struct Slot {
        std::uint32_t hash = 0;
        int id = -1; // for an empty one
    };

    std::string_view textOf(const Piece& piece) const {
        return std::string_view(m_text).substr(piece.begin, piece.size);
    }
    /// Where the piece is, or the empty slot where it would be. There is always an empty one.
    std::size_t slotOf(std::string_view piece, std::uint32_t hash) const;
    void grow();

    std::string m_text;
    std::vector<Piece> m_pieces;                              // [id]
    std::vector<Slot> m_slots = std::vector<Slot>(1U << 10U); // a power of two, at most half of them taken
    std::size_t m_count = 0;
};

} // namespace fenlo::hub
