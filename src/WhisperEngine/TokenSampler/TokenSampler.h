#pragma once

#include "WhisperEngine/DecodingOptions.h"

#include <cstddef>
#include <random>
#include <span>
#include <vector>

namespace fenlo::whisper {

struct SamplingResult {
    std::vector<int> tokens;
    std::vector<float> logProbs; // one for each token
    bool completed = false;
};

/// Takes the next token from the scores of a step.
///
/// Threads: one decoding at a time.
/// Errors:  WhisperError of the kind decodingFailed.
class TokenSampler {
public:
    virtual ~TokenSampler() = default;
    /// Appends the chosen token and its log probability, taken from the softmax of the scores as they are. `logits` may
    /// be used as working memory.
    virtual SamplingResult update(std::vector<int> tokens, std::span<float> logits, std::vector<float> logProbs) = 0;
    /// Closes the sequence with the end token where it lacks one.
    virtual SamplingResult finalize(std::vector<int> tokens, std::vector<float> logProbs) = 0;
};

/// The best token at temperature 0; above it one of the `topK` best, drawn by their weights.
class GreedyTokenSampler final : public TokenSampler {
public:
    GreedyTokenSampler(float temperature, int eotToken, const DecodingOptions& options);
    SamplingResult update(std::vector<int> tokens, std::span<float> logits, std::vector<float> logProbs) override;
    SamplingResult finalize(std::vector<int> tokens, std::vector<float> logProbs) override;

private:
    struct Candidate {
        float score;
        std::size_t token;
    };

    /// One of the `topK` best tokens, drawn by the softmax of the scores divided by the temperature.
    std::size_t draw(std::span<const float> logits, float best);

    float m_temperature;
    int m_eotToken;
    std::size_t m_topK;
    std::mt19937 m_random;
    std::vector<Candidate> m_candidates;
};

} // namespace fenlo::whisper
