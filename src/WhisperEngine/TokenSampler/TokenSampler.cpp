#include "WhisperEngine/TokenSampler/TokenSampler.h"

#include "WhisperEngine/TokenSampler/Scores.h"
#include "WhisperEngine/WhisperError.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace fenlo::whisper {

namespace {

[[noreturn]] void fail(const char* fault) {
    throw WhisperError(WhisperError::Kind::decodingFailed, std::string("Sampling error: ") + fault);
}

} // namespace

GreedyTokenSampler::GreedyTokenSampler(float temperature, int eotToken, const DecodingOptions& options)
    : m_temperature(temperature), m_eotToken(eotToken), m_topK(static_cast<std::size_t>(std::max(options.topK, 1))),
      m_random(options.seed) {}

SamplingResult GreedyTokenSampler::update(std::vector<int> tokens, std::span<float> logits,
                                          std::vector<float> logProbs) {
    const float best = maximumScore(logits);
    if (best == forbiddenScore)
        fail("no token is allowed");
    const float logSum = logSumExp(logits, best);
    if (!std::isfinite(logSum))
        fail("the scores are not finite numbers");

    const std::size_t chosen = m_temperature > 0.0F
                                   ? draw(logits, best)
                                   : static_cast<std::size_t>(std::ranges::find(logits, best) - logits.begin());
    const auto token = static_cast<int>(chosen);
    const bool completed = token == m_eotToken || (!tokens.empty() && tokens.back() == m_eotToken);
    tokens.push_back(token);
    logProbs.push_back(logits[chosen] - logSum);
    return {std::move(tokens), std::move(logProbs), completed};
}

std::size_t GreedyTokenSampler::draw(std::span<const float> logits, float best) {
    // The best so far as a heap with the least of them in front; hardly a score gets past that one.
    const auto isBetter = [](const Candidate& a, const Candidate& b) { return a.score > b.score; };
    m_candidates.clear();
    for (std::size_t token = 0; token < logits.size(); ++token) {
        if (m_candidates.size() == m_topK) {
            if (!(logits[token] > m_candidates.front().score))
                continue;
            std::ranges::pop_heap(m_candidates, isBetter);
            m_candidates.pop_back();
        }
        m_candidates.push_back({logits[token], token});
        std::ranges::push_heap(m_candidates, isBetter);
    }

    // The sum of the softmax is a factor common to all candidates, and drawing by weight does not need it.
    const auto weight = [&](const Candidate& candidate) {
        return std::exp(static_cast<double>(candidate.score - best) / static_cast<double>(m_temperature));
    };
    std::ranges::sort(m_candidates, isBetter);
    double sum = 0;
    for (const Candidate& candidate : m_candidates)
        sum += weight(candidate);
    double mark = std::uniform_real_distribution<double>(0, sum)(m_random);
    for (const Candidate& candidate : m_candidates) {
        mark -= weight(candidate);
        if (mark < 0)
            return candidate.token;
    }
    return m_candidates.front().token; // rounding left a rest
}

SamplingResult GreedyTokenSampler::finalize(std::vector<int> tokens, std::vector<float> logProbs) {
    if (tokens.empty() || tokens.back() != m_eotToken) {
        tokens.push_back(m_eotToken);
        logProbs.push_back(0.0F);
    }
    return {std::move(tokens), std::move(logProbs), true};
}

} // namespace fenlo::whisper
