#pragma once

#include "meeting/Meeting.h"

#include <optional>
#include <string_view>

namespace fenlo {

inline constexpr double meetingTick = 1.0 / 30; // seconds between two looks at the level

/// Where a meeting is cut into chunks: at a pause or, without one, when the chunk has become long. Pauses count from
/// the moment at which a chunk is long enough to be cut.
///
/// Units: seconds of any clock that only goes forward; levels for display, as AudioRecorder::currentRMS() has them.
class ChunkRule {
public:
    struct Cut {
        std::string_view reason; // "silence" or "max interval"
        double length = 0;       // of the chunk, in seconds
    };

    /// The first chunk begins at `now`.
    ChunkRule(MeetingMode mode, double now);

    /// To be asked at every tick. Where it answers, a chunk ends and the next one begins.
    std::optional<Cut> tick(float level, double now);

private:
    MeetingMode m_mode;
    double m_chunkStart;
    std::optional<double> m_silenceStart;
};

} // namespace fenlo
