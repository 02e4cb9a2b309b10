#pragma once

#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/TranscriptionResult.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace fenlo::whisper {

class WhisperTokenizer;
struct SpecialTokens;

inline constexpr float secondsPerTimeToken = 0.02f;
inline constexpr int sampleRate = 16000; // hertz, of everything in the engine

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

/// Finds the segments of a decoded window and where the next window begins, and the times of words.
///
/// Threads: no state; any.
/// Errors:  WhisperError of the kind segmentingFailed for an alignment of the wrong shape.
/// Units:   seek, segment size and rate in samples; times in seconds.
class SegmentSeeker {
public:
    static constexpr const char* prependPunctuations = "\"'“¡¿([{-";
    static constexpr const char* appendPunctuations = "\"'.。,，!！?？:：”)]}、";

    virtual ~SegmentSeeker() = default;

    virtual SeekResult findSeekPointAndSegments(const DecodingResult& decodingResult, const DecodingOptions& options,
                                                int allSegmentsCount, int currentSeek, int segmentSize,
                                                const WhisperTokenizer& tokenizer) const;

    /// `alignmentWeights` has a row for each of the window's tokens, those of the prompt left out. `language` tells how
    /// words are split. `lastSpeechTimestamp` is where speech ended before this window.
    virtual std::vector<TranscriptionSegment>
    addWordTimestamps(std::vector<TranscriptionSegment> segments, const AlignmentWeights& alignmentWeights,
                      const WhisperTokenizer& tokenizer, const std::string& language, int seek, int segmentSize,
                      float lastSpeechTimestamp, const DecodingOptions& options, TranscriptionTimings& timings) const;

    /// The words of one window, in times of that window.
    virtual std::vector<WordTiming> findAlignment(std::span<const int> wordTokenIds,
                                                  const AlignmentWeights& alignmentWeights,
                                                  std::span<const float> tokenLogProbs,
                                                  const WhisperTokenizer& tokenizer, const std::string& language,
                                                  TranscriptionTimings& timings) const;
};

} // namespace fenlo::whisper
