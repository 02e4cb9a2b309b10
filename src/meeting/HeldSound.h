#pragma once

#include "base/Guarded.h"
#include "meeting/KeptChunk.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace fenlo {

/// Sound of a meeting that no disk has room for, in memory until one has: half an hour of it at most, 115 MB. What
/// comes beyond that is not taken, so that the beginning stays whole.
///
/// Threads: any.
class HeldSound {
public:
    struct Piece {
        KeptChunk chunk;
        std::shared_ptr<const std::vector<float>> samples; // at 16 kHz
    };

    static constexpr double most = 1800; // seconds

    /// False when there is no room for it.
    bool add(const KeptChunk& chunk, std::vector<float> samples);
    /// The oldest piece, which stays; nothing when there is none.
    std::optional<Piece> first() const;
    void removeFirst();

    std::size_t count() const;
    double seconds() const;
    /// Whether a piece was refused, and none has been removed since.
    bool isFull() const;

private:
    struct Pieces {
        std::deque<Piece> all;
        std::size_t samples = 0; // of all of them
        bool isFull = false;
    };

    Guarded<Pieces> m_pieces;
};

} // namespace fenlo
