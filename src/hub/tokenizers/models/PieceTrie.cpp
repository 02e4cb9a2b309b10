#include "hub/tokenizers/models/PieceTrie.h"

#include <algorithm>
#include <cstring>

namespace fenlo::hub {

PieceTrie::PieceTrie(std::vector<Piece> pieces) {
    std::ranges::sort(pieces, {}, &Piece::text); // then the pieces below a node lie together
    struct Below {
        std::size_t begin, end; // pieces
        std::size_t depth;
    };
    std::vector<Below> below{{0, pieces.size(), 0}}; // [node]
    m_bytes.push_back(0);
    for (std::size_t node = 0; node < below.size(); ++node) {
        auto [begin, end, depth] = below[node];
        m_children.push_back(static_cast<std::uint32_t>(below.size()));
        const bool endsPiece = begin < end && pieces[begin].text.size() == depth;
        m_pieces.push_back(endsPiece ? pieces[begin++].id : noPiece);
        while (begin < end) {
            const char byte = pieces[begin].text[depth];
            const std::size_t first = begin;
            while (begin < end && pieces[begin].text[depth] == byte)
                ++begin;
            m_bytes.push_back(byte);
            below.push_back({first, begin, depth + 1});
        }
    }
    m_children.push_back(static_cast<std::uint32_t>(below.size()));
    for (Node node = m_children[root]; node < m_children[root + 1]; ++node)
        m_ofFirstByte[static_cast<unsigned char>(m_bytes[node])] = node;
}

std::optional<PieceTrie::Node> PieceTrie::child(Node node, char byte) const {
    if (node == root) {
        const Node first = m_ofFirstByte[static_cast<unsigned char>(byte)];
        return first == root ? std::nullopt : std::optional(first);
    }
    const char* begin = m_bytes.data() + m_children[node];
    const std::size_t count = m_children[node + 1] - m_children[node];
    const void* found = count == 0 ? nullptr : std::memchr(begin, byte, count);
    if (!found)
        return std::nullopt;
    return m_children[node] + static_cast<Node>(static_cast<const char*>(found) - begin);
}

std::optional<PieceTrie::Node> PieceTrie::follow(std::string_view text) const {
    std::optional<Node> node = root;
    for (const char byte : text)
        if (node)
            node = child(*node, byte);
    return node;
}

} // namespace fenlo::hub
