#include "WhisperEngine/ClipSpeech.h"

#include "WhisperEngine/AudioTime.h"

#include <algorithm>
#include <vector>

namespace fenlo::whisper {

namespace {

// Samples.
constexpr int mostUnheard = sampleRate;          // of sound that may lie between two segments
constexpr int longestToken = sampleRate / 2;     // of sound in a segment, for each of its tokens
constexpr int shortestWayToUnheard = sampleRate; // from a window's start, so that each window gets on
constexpr int atOnce = 3 * sampleRate / 10; // from a clip's start: a first sound so early asks for silence before it

} // namespace

/// What is left after a window is mostly padding when it is shorter than the clip time, and would only invite invented
/// words where nobody speaks; a clip that is short from the start is decoded all the same.
bool ClipSpeech::isLeft(int seek) const {
    if (seek >= m_end)
        return false;
    return seek == m_begin || !isShortRest(seek) || (m_heard && m_heard->speechIn(seek, m_end));
}

bool ClipSpeech::isShortRest(int seek) const {
    return m_end - seek <= static_cast<int>(m_options.windowClipTime * sampleRate);
}

bool ClipSpeech::needsLeadIn() const {
    return hearsEverySound() && m_heard->speechIn(m_begin, std::min(m_begin + atOnce, m_end));
}

std::optional<HeardSpeech::Stretch> ClipSpeech::speechIn(int from, int to) const {
    return m_heard->speechIn(std::max(from, m_begin), to);
}

std::optional<ClipSpeech::PassedOver> ClipSpeech::passedOver(const SeekResult& found, int seek) const {
    const std::vector<TranscriptionSegment>& segments = *found.segments;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const bool stretched = isStretched(segments[i], seek);
        const int begin = sampleAt(stretched ? segments[i].start : segments[i].end);
        const bool isLast = i + 1 == segments.size();
        const int end = isLast ? found.nextSeek : sampleAt(segments[i + 1].start);
        if (begin - seek < shortestWayToUnheard || begin >= end)
            continue;
        const bool beforeRest = isLast && end < m_end && isShortRest(end) && m_heard->speechIn(end, m_end);
        if (stretched || beforeRest || m_heard->soundIn(begin, end) >= mostUnheard)
            return PassedOver{.segmentCount = i + 1, .begin = begin};
    }
    return std::nullopt;
}

bool ClipSpeech::isStretched(const TranscriptionSegment& segment, int seek) const {
    const int start = sampleAt(segment.start);
    return start - seek >= shortestWayToUnheard && !segment.speechWithoutText &&
           m_heard->soundIn(start, sampleAt(segment.end)) > longestToken * static_cast<int>(segment.tokens.size());
}

} // namespace fenlo::whisper
