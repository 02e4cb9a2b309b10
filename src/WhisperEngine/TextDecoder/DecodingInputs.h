#pragma once

#include <vector>

namespace fenlo::whisper {

/// The working arrays of a decoding, allocated once for all windows of a task and written in place by position.
///
/// Shapes: caches [kvCacheMaxSequenceLength, kvCacheEmbedDim], masks [kvCacheMaxSequenceLength], alignmentWeights
///         [kvCacheMaxSequenceLength, audio frames].
struct DecodingInputs {
    std::vector<int> initialPrompt;
    int inputIds = 0;
    int cacheLength = 0;
    std::vector<float> keyCache;
    std::vector<float> valueCache;
    std::vector<float> alignmentWeights; // empty unless words are timed
    std::vector<float> kvCacheUpdateMask;
    std::vector<float> decoderKeyPaddingMask;
    std::vector<float> prefillKeyCache; // [positions of the prefill, kvCacheEmbedDim]; empty without one
    std::vector<float> prefillValueCache;

    /// Back to an empty cache, for the next pass or window.
    void reset(std::vector<int> prompt);
};

} // namespace fenlo::whisper
