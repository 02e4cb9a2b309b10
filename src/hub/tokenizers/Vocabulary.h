#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace fenlo::hub {

/// Pieces and their ids, both ways.
class Vocabulary {
public:
    Vocabulary() { m_ids.reserve(typicalSize); }

    /// Ids go up to here; the largest published vocabularies have some 260,000. It bounds the table by id.
    static constexpr int maximumId = (1 << 22) - 1;

    /// False, and nothing added, where the piece or the id is taken. `id` is from 0 to maximumId.
    bool add(const std::string& piece, int id);

    std::optional<int> find(std::string_view piece) const;
    /// Null for an id without a piece.
    const std::string* piece(int id) const;
    /// One more than the largest id.
    int size() const { return static_cast<int>(m_pieces.size()); }

private:
    static constexpr std::size_t typicalSize = 60'000;

    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };

    std::unordered_map<std::string, int, Hash, std::equal_to<>> m_ids;
    std::vector<const std::string*> m_pieces; // [id], the keys above
};

} // namespace fenlo::hub
