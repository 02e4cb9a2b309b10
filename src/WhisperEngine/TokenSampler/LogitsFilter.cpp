#include "WhisperEngine/TokenSampler/LogitsFilter.h"

#include "WhisperEngine/TokenSampler/Scores.h"

#include <algorithm>
#include <utility>

namespace fenlo::whisper {

namespace {

void forbidEach(std::span<float> logits, const std::vector<int>& indexes) {
    for (const int index : indexes)
        forbid(logits, index, index + 1);
}

} // namespace

SuppressTokensFilter::SuppressTokensFilter(std::vector<int> suppressTokens)
    : m_suppressTokenIndexes(std::move(suppressTokens)) {
    std::erase_if(m_suppressTokenIndexes, [](int token) { return token < 0; });
}

void SuppressTokensFilter::filterLogits(std::span<float> logits, std::span<const int>) const {
    forbidEach(logits, m_suppressTokenIndexes);
}

SuppressBlankFilter::SuppressBlankFilter(const SpecialTokens& specialTokens, int sampleBegin)
    : m_sampleBegin(sampleBegin), m_suppressTokenIndexes{specialTokens.whitespaceToken, specialTokens.endToken} {}

void SuppressBlankFilter::filterLogits(std::span<float> logits, std::span<const int> tokens) const {
    if (std::cmp_equal(tokens.size(), m_sampleBegin))
        forbidEach(logits, m_suppressTokenIndexes);
}

LanguageLogitsFilter::LanguageLogitsFilter(const std::set<int>& allLanguageTokens, int logitsDim, int sampleBegin)
    : m_sampleBegin(sampleBegin) {
    for (int token = 0; token < logitsDim; ++token)
        if (!allLanguageTokens.contains(token))
            m_nonLanguageTokenIndexes.push_back(token);
}

void LanguageLogitsFilter::filterLogits(std::span<float> logits, std::span<const int> tokens) const {
    if (std::cmp_equal(tokens.size(), m_sampleBegin))
        forbidEach(logits, m_nonLanguageTokenIndexes);
}

TimestampRulesFilter::TimestampRulesFilter(const SpecialTokens& specialTokens, int sampleBegin,
                                           std::optional<int> maxInitialTimestampIndex, bool isModelMultilingual)
    : m_specialTokens(specialTokens), m_sampleBegin(sampleBegin), m_maxInitialTimestampIndex(maxInitialTimestampIndex),
      m_isModelMultilingual(isModelMultilingual) {}

std::optional<std::size_t> TimestampRulesFilter::firstSampled(std::span<const int> tokens) const {
    const auto begin = static_cast<std::size_t>(std::max(m_sampleBegin, 0));
    if (tokens.size() < begin)
        return std::nullopt;
    if (!m_isModelMultilingual)
        return begin;
    const auto isTask = [this](int token) {
        return token == m_specialTokens.transcribeToken || token == m_specialTokens.translateToken;
    };
    const auto task = std::find_if(tokens.begin(), tokens.end(), isTask);
    if (task == tokens.end())
        return std::nullopt;
    return std::max(begin, static_cast<std::size_t>(task - tokens.begin()) + 1);
}

void TimestampRulesFilter::filterLogits(std::span<float> logits, std::span<const int> tokens) const {
    const std::optional<std::size_t> begin = firstSampled(tokens);
    if (!begin)
        return;
    const auto size = static_cast<int>(logits.size());
    const int timeBegin = std::clamp(m_specialTokens.timeTokenBegin, 0, size);
    const auto isTimestamp = [timeBegin](int token) { return token >= timeBegin; };
    const std::span<const int> sampled = tokens.subspan(*begin);

    forbid(logits, m_specialTokens.noTimestampsToken, m_specialTokens.noTimestampsToken + 1);

    // A timestamp stands alone only as the first token; everywhere else one ends a segment and the next begins one.
    const bool lastIsTimestamp = !sampled.empty() && isTimestamp(sampled.back());
    const bool pairIsClosed = sampled.size() < 2 || isTimestamp(sampled[sampled.size() - 2]);
    if (lastIsTimestamp && pairIsClosed)
        forbid(logits, timeBegin, size);
    else if (lastIsTimestamp)
        forbid(logits, 0, m_specialTokens.endToken);

    // The next segment may begin where the last one ends; any other timestamp must be later, so that no segment is
    // empty and the seek always moves.
    const auto latest = std::find_if(sampled.rbegin(), sampled.rend(), isTimestamp);
    if (latest != sampled.rend())
        forbid(logits, timeBegin, lastIsTimestamp && !pairIsClosed ? *latest : *latest + 1);

    if (sampled.empty()) {
        forbid(logits, 0, timeBegin);
        if (m_maxInitialTimestampIndex)
            forbid(logits, timeBegin + *m_maxInitialTimestampIndex + 1, size);
    }

    // Softmax takes the same constant off both sides, so the raw scores compare as the log probabilities would.
    const auto timestamps = logits.subspan(static_cast<std::size_t>(timeBegin));
    const auto text = logits.first(static_cast<std::size_t>(timeBegin));
    if (logSumExp(timestamps, maximumScore(timestamps)) > maximumScore(text))
        forbid(logits, 0, timeBegin);
}

} // namespace fenlo::whisper
