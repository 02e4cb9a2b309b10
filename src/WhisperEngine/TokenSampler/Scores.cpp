#include "WhisperEngine/TokenSampler/Scores.h"

#include "WhisperEngine/runtime/Kernels.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace fenlo::whisper {

void forbid(std::span<float> logits, int first, int last) {
    const auto size = static_cast<int>(logits.size());
    const int from = std::clamp(first, 0, size);
    const int to = std::clamp(last, from, size);
    std::fill(logits.begin() + from, logits.begin() + to, forbiddenScore);
}

float maximumScore(std::span<const float> logits) {
    return kernels::largest(logits.data(), static_cast<int>(logits.size()));
}

float logSumExp(std::span<const float> logits, float maximum) {
    return kernels::logSumExp(logits.data(), static_cast<int>(logits.size()), maximum);
}

float probabilityOf(int token, std::span<const float> logits, float logSum) {
    return std::exp(logits[static_cast<std::size_t>(token)] - logSum);
}

} // namespace fenlo::whisper
