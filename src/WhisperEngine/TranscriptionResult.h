#pragma once

#include "WhisperEngine/TranscriptionTimings.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fenlo::whisper {

struct WordTiming {
    std::string word; // with the blank before it, where the text has one
    std::vector<int> tokens;
    float start = 0; // seconds
    float end = 0;
    float probability = 0;
};

struct TranscriptionSegment {
    int id = 0;
    int seek = 0;    // samples, where the segment's window begins
    float start = 0; // seconds from the start of the audio
    float end = 0;
    std::string text;
    std::vector<int> tokens;
    std::vector<float> tokenLogProbs; // one for each of `tokens`
    float temperature = 0;
    float avgLogprob = 0;
    float compressionRatio = 0;
    float noSpeechProb = 0;
    std::optional<std::vector<WordTiming>> words;
    bool speechWithoutText = false; // somebody speaks here, but no words were found: `text` and `tokens` are empty
};

struct TranscriptionResult {
    std::string text;
    std::vector<TranscriptionSegment> segments;
    std::string language;
    TranscriptionTimings timings;
    std::optional<float> seekTime; // seconds: where this audio begins in the whole recording
};

struct TranscriptionProgress {
    TranscriptionTimings timings;
    std::string text;
    std::vector<int> tokens;
    std::optional<float> temperature;
    std::optional<float> avgLogprob;
    std::optional<float> compressionRatio;
    int windowId = 0;
};

struct DecodingFallback {
    bool needsFallback = false;
    std::string fallbackReason;
};

/// What a finished loop leaves for the alignment of words. TextDecoder leaves it in its DecodingInputs: a copy would be
/// megabytes for each window.
struct DecodingCache {
    std::vector<float> keyCache;
    std::vector<float> valueCache;
    std::vector<float> alignmentWeights; // [positions, audio frames], averaged over the alignment heads
};

struct DecodingResult {
    std::string language;
    std::map<std::string, float> languageProbs; // by code; they sum to 1
    std::vector<int> tokens;                    // the prompt first
    std::vector<float> tokenLogProbs;           // one for each of `tokens`, 0 for the prompt's
    std::string text;
    float avgLogProb = 0;
    float noSpeechProb = 0;
    float temperature = 0;
    float compressionRatio = 0;
    std::optional<DecodingCache> cache;          // of decoders that give it away
    std::optional<TranscriptionTimings> timings; // of decoders that keep their own; TextDecoder adds to the task's
    std::optional<DecodingFallback> fallback;
};

} // namespace fenlo::whisper
