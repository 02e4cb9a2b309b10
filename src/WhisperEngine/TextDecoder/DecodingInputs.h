#pragma once

#include <vector>

namespace fenlo::whisper {

class TextDecoderModel;

/// The working arrays of a decoding, allocated once for all windows of a task and written in place by position.
///
/// Shapes: caches [positions, kvCacheEmbedDim], masks [positions], alignmentWeights [positions, audio frames].
struct DecodingInputs {
    std::vector<int> initialPrompt;
    int inputIds = 0;
    int cacheLength = 0;
    std::vector<float> keyCache;
    std::vector<float> valueCache;
    std::vector<float> alignmentWeights;  // empty unless words are timed
    std::vector<float> kvCacheUpdateMask; // for models that write the cache by it; ours goes by cacheLength
    std::vector<float> decoderKeyPaddingMask;
    std::vector<float> prefillKeyCache; // [positions of the prefill, kvCacheEmbedDim]; empty without one
    std::vector<float> prefillValueCache;

    /// An empty cache for `positions` tokens of the model.
    static DecodingInputs forModel(const TextDecoderModel& model, int positions, bool withAlignment);

    int positions() const { return static_cast<int>(decoderKeyPaddingMask.size()); }
    /// Back to an empty cache, for the next pass or window.
    void reset(std::vector<int> prompt);
    /// Takes the keys and values of the first `count` positions from the prefill.
    void takePrefill(int count);
};

} // namespace fenlo::whisper
