#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace fenlo::hub {

/// The pieces of a vocabulary in a tree of their bytes, in which those that a text begins with are found in one walk.
///
/// The nodes lie level by level, so that the children of each lie together and those of the next one follow. A node is
/// a byte, the place of its children and a piece: nine bytes.
///
/// Threads: constant once made.
class PieceTrie {
public:
    struct Piece {
        std::string_view text; // not empty; used by the constructor only
        int id;
    };
    /// No text may occur twice.
    explicit PieceTrie(std::vector<Piece> pieces);

    using Node = std::uint32_t;
    static constexpr Node root = 0;
    static constexpr int noPiece = -1;

    /// The node one byte further; none when no piece goes on so.
    std::optional<Node> child(Node node, char byte) const;
    /// The node that this text leads to from the root.
    std::optional<Node> follow(std::string_view text) const;
    /// The piece that ends at the node, or noPiece.
    int pieceAt(Node node) const { return m_pieces[node]; }

private:
    std::vector<char> m_bytes;             // [node]
    std::vector<std::uint32_t> m_children; // [node], the first child; one more at the end
    std::vector<int> m_pieces;             // [node]
    std::array<Node, 256> m_ofFirstByte{}; // root where there is none, since most walks would search many children here
};

} // namespace fenlo::hub
