#pragma once

#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"
#include "WhisperEngine/VoiceActivityDetector/HeardSpeech.h"

#include <cstddef>
#include <optional>

namespace fenlo::whisper {

/// Where somebody speaks in a clip of a recording, and what that means for the walk over it: the rules of
/// `losesNoSpeech`.
///
/// Lifetime: `heard` and the options outlive this.
/// Units:    samples from the start of the recording.
class ClipSpeech {
public:
    /// From `begin` to `end`. `heard` is null without `losesNoSpeech`.
    ClipSpeech(int begin, int end, const HeardSpeech* heard, const DecodingOptions& options)
        : m_begin(begin), m_end(end), m_heard(heard), m_options(options) {}

    int begin() const { return m_begin; }
    int end() const { return m_end; }

    /// Whether a window begins at `seek`.
    bool isLeft(int seek) const;
    /// Whether the clip gets silence before it: models lose a first word that begins at once.
    bool needsLeadIn() const;
    /// Whether sound decides beside the model. Without a threshold for silence nobody asks whether somebody speaks.
    bool hearsEverySound() const { return m_heard && m_options.noSpeechThreshold; }
    /// `from` may lie before the clip, in silence.
    std::optional<HeardSpeech::Stretch> speechIn(int from, int to) const;

    struct PassedOver {
        std::size_t segmentCount = 0; // the segments that stay
        int begin = 0;                // where the next window begins
    };
    /// Speech that the segments of the window at `seek` pass over: behind a segment, where no other one holds it or
    /// where a short rest of the clip would begin within a word; and a segment with far too few words for its sound,
    /// from its start.
    std::optional<PassedOver> passedOver(const SeekResult& found, int seek) const;

private:
    bool isShortRest(int seek) const;
    bool isStretched(const TranscriptionSegment& segment, int seek) const;

    const int m_begin;
    const int m_end;
    const HeardSpeech* const m_heard;
    const DecodingOptions& m_options;
};

} // namespace fenlo::whisper
