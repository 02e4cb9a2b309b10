#include "WhisperEngine/TextDecoder/DecodingInputs.h"

#include <algorithm>
#include <utility>

namespace fenlo::whisper {

namespace {

constexpr float masked = -10000.0f;

} // namespace

void DecodingInputs::reset(std::vector<int> prompt) {
    initialPrompt = std::move(prompt);
    inputIds = initialPrompt.empty() ? 0 : initialPrompt.front();
    cacheLength = 0;
    std::ranges::fill(kvCacheUpdateMask, 0.0f);
    std::ranges::fill(decoderKeyPaddingMask, masked);
}

} // namespace fenlo::whisper
