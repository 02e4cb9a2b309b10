#pragma once

#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/TranscriptionResult.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace fenlo::whisper {

class Logging;
class WhisperTokenizer;

/// Attention of decoded tokens over the frames of a window.
struct AlignmentWeights {
    std::span<const float> values; // [tokens, frames]
    int tokens = 0;
    int frames = 0; // 50 a second
};

struct SeekResult {
    int nextSeek = 0;                                          // samples
    std::optional<std::vector<TranscriptionSegment>> segments; // none for silence
};

/// What finding the times of words takes beside the tokens and their attention.
struct AlignmentContext {
    const WhisperTokenizer& tokenizer;
    std::string language; // a code: tells how words are split
    TranscriptionTimings& timings;
    const Logging& logging;
};

/// A window's place in the audio.
struct WindowPlace {
    int seek = 0;                  // samples
    int segmentSize = 0;           // samples
    float lastSpeechTimestamp = 0; // seconds, where speech ended before this window
};

/// Finds the segments of a decoded window and where the next window begins, and the times of words.
///
/// Threads: no state; any.
/// Errors:  WhisperError of the kind segmentingFailed for an alignment of the wrong shape.
/// Units:   seek, segment size and rate in samples; times in seconds.
class SegmentSeeker {
public:
    /// The seek always moves on by at least this much. It is shorter than a word, so that no word is passed over, and
    /// it limits what a model that hardly gets on can cost: 150 windows for thirty seconds.
    static constexpr int leastStep = sampleRate / 5;
    static constexpr const char* prependPunctuations = "\"'“¡¿([{-";
    static constexpr const char* appendPunctuations = "\"'.。,，!！?？:：”)]}、";

    virtual ~SegmentSeeker() = default;

    /// `decodingResult.tokens` begin with the prompt that the options led to. Segments follow each other inside the
    /// window and hold every token that was sampled, up to the rest that the next window decodes again; time tokens are
    /// among their tokens, and in their text unless `skipSpecialTokens` is set. A stretch without text is no segment of
    /// its own. The next seek lies behind the current one, and at most at the end of the window.
    ///
    /// A pair of time tokens at the end says that one more sentence begins in the window, but does not end in it. The
    /// next window then begins behind this one; with `losesNoSpeech` it begins at the pair, and a single time token at
    /// the end says that this window is done.
    virtual SeekResult findSeekPointAndSegments(const DecodingResult& decodingResult, const DecodingOptions& options,
                                                int allSegmentsCount, int currentSeek, int segmentSize,
                                                const WhisperTokenizer& tokenizer) const;

    /// Gives the segments, which are those of one window, their words, and sets their times to those of the words.
    ///
    /// `alignmentWeights` has a row for each token sampled in the window, and may have more: the attention of the step
    /// that chose the token, so that the first row is the step of the last token of the prompt.
    virtual std::vector<TranscriptionSegment> addWordTimestamps(std::vector<TranscriptionSegment> segments,
                                                                const AlignmentWeights& alignmentWeights,
                                                                const WindowPlace& window,
                                                                const AlignmentContext& context) const;

    /// The words of one window, in times of that window. A row and a log probability for each token; special tokens
    /// take part in the alignment, and are in no word.
    virtual std::vector<WordTiming> findAlignment(std::span<const int> wordTokenIds,
                                                  const AlignmentWeights& alignmentWeights,
                                                  std::span<const float> tokenLogProbs,
                                                  const AlignmentContext& context) const;
};

} // namespace fenlo::whisper
