#include "meeting/ChunkRule.h"

namespace fenlo {

namespace {

constexpr float silenceThreshold = 0.005F;

struct ChunkLimits {
    double shortest;
    double silence; // that ends a chunk
    double longest;
};

constexpr ChunkLimits limitsOf(MeetingMode mode) {
    return mode == MeetingMode::meeting ? ChunkLimits{2.0, 0.8, 10.0} : ChunkLimits{0.5, 0.2, 2.0};
}

} // namespace

ChunkRule::ChunkRule(MeetingMode mode, double now) : m_mode(mode), m_chunkStart(now) {}

std::optional<ChunkRule::Cut> ChunkRule::tick(float level, double now) {
    const ChunkLimits limits = limitsOf(m_mode);
    const double length = now - m_chunkStart;
    if (length < limits.shortest)
        return {};
    if (level >= silenceThreshold)
        m_silenceStart.reset();
    else if (!m_silenceStart)
        m_silenceStart = now;

    std::optional<Cut> cut;
    if (m_silenceStart && now - *m_silenceStart >= limits.silence)
        cut = {"silence", length};
    else if (length >= limits.longest)
        cut = {"max interval", length};
    if (cut) {
        m_chunkStart = now;
        m_silenceStart.reset();
    }
    return cut;
}

} // namespace fenlo
