#include "WhisperEngine/TextDecoder/DecodingInputs.h"

#include "WhisperEngine/ModelCalls.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace fenlo::whisper {

namespace {

constexpr float masked = -10000.0f;

} // namespace

DecodingInputs DecodingInputs::forModel(const TextDecoderModel& model, int positions, bool withAlignment) {
    const auto count = static_cast<std::size_t>(positions);
    DecodingInputs inputs;
    inputs.keyCache.resize(count * static_cast<std::size_t>(model.kvCacheEmbedDim().value()));
    inputs.valueCache.resize(inputs.keyCache.size());
    inputs.kvCacheUpdateMask.resize(count);
    inputs.decoderKeyPaddingMask.resize(count);
    if (withAlignment)
        inputs.alignmentWeights.resize(count * static_cast<std::size_t>(model.audioFrames()));
    inputs.reset({});
    return inputs;
}

void DecodingInputs::reset(std::vector<int> prompt) {
    initialPrompt = std::move(prompt);
    inputIds = initialPrompt.empty() ? 0 : initialPrompt.front();
    cacheLength = 0;
    std::ranges::fill(kvCacheUpdateMask, 0.0f);
    std::ranges::fill(decoderKeyPaddingMask, masked);
}

void DecodingInputs::takePrefill(int count) {
    const std::ptrdiff_t width = std::ssize(keyCache) / positions();
    std::copy_n(prefillKeyCache.begin(), count * width, keyCache.begin());
    std::copy_n(prefillValueCache.begin(), count * width, valueCache.begin());
    std::fill_n(decoderKeyPaddingMask.begin(), count, 0.0f);
    cacheLength = count;
}

} // namespace fenlo::whisper
