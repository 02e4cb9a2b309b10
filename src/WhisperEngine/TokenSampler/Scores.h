#pragma once

#include <limits>
#include <span>

/// Arithmetic on the scores of one step: some fifty thousand numbers, again for every token.
namespace fenlo::whisper {

inline constexpr float forbiddenScore = -std::numeric_limits<float>::infinity();

/// Forbids the tokens from `first` up to, not including, `last`, as far as the vocabulary has them.
void forbid(std::span<float> logits, int first, int last);

/// The largest score; forbiddenScore where there is none. A NaN is never the largest.
float maximumScore(std::span<const float> logits);

/// log(sum(exp(score))); `maximum` is maximumScore(logits). A NaN among the scores makes the sum one.
float logSumExp(std::span<const float> logits, float maximum);

/// Of one token by the softmax of the scores; `logSum` is logSumExp() of them all.
float probabilityOf(int token, std::span<const float> logits, float logSum);

} // namespace fenlo::whisper
