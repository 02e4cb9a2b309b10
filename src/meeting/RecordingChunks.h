#pragma once

#include "meeting/ChunkRule.h"

#include <cstddef>
#include <span>
#include <vector>

namespace fenlo {

/// Cuts a recording as a meeting that plays it would be cut, on the time of its samples.
///
/// Units: mono samples at 16000 hertz.
class RecordingChunks {
public:
    struct Chunk {
        std::vector<float> samples;
        double end = 0; // seconds from the beginning of the recording
    };

    explicit RecordingChunks(MeetingMode mode) : m_rule(mode, 0) {}

    /// The chunks that end within these samples, which follow the earlier ones.
    std::vector<Chunk> add(std::span<const float> samples);
    /// What is left after the last cut; no samples when nothing is.
    Chunk finish();

private:
    Chunk cutAt(std::size_t length);

    ChunkRule m_rule;
    std::vector<float> m_samples; // since the last cut
    std::size_t m_heard = 0;      // of these, up to the last tick
    std::size_t m_start = 0;      // of the chunk, in samples from the beginning
    std::size_t m_ticks = 0;
};

} // namespace fenlo
