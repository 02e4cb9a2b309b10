#pragma once

#include "WhisperEngine/TranscriptionResult.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace fenlo::whisper {

/// Where the walk over one array of samples stands between two windows: all that the next window depends on, beside
/// the audio, the options and the model.
struct TranscriptionCheckpoint {
    std::size_t clip = 0; // the index of the seek clip
    int seek = 0;         // samples from the start of the array, where the next window begins
    int windowId = 0;
    std::string language;            // a code; empty until it is known
    std::vector<int> previousTokens; // of the text before, which the next window may be conditioned on
    float lastSpeechTimestamp = 0;   // seconds, the end of the last word
};

/// A walk that was stopped. A task that is given it, with the same audio, options and model, goes on to the same result
/// as one that was never stopped.
struct StoppedTranscription {
    TranscriptionCheckpoint checkpoint;
    std::vector<TranscriptionSegment> segments; // all so far; their times count from the start of the array
};

/// Called after each window with the segments that it gave, often none; their times count from the start of the array.
using CheckpointCallback = std::function<void(const TranscriptionCheckpoint&, std::span<const TranscriptionSegment>)>;

} // namespace fenlo::whisper
