#pragma once

#include "WhisperEngine/Tokenizer/SpecialTokens.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <vector>

namespace fenlo::whisper {

/// Forbids tokens by setting their scores to minus infinity, in place.
///
/// Threads: constant once made.
class LogitsFilter {
public:
    virtual ~LogitsFilter() = default;
    /// `tokens` are the prompt and what was sampled so far.
    virtual void filterLogits(std::span<float> logits, std::span<const int> tokens) const = 0;
};

using LogitsFilters = std::vector<std::shared_ptr<const LogitsFilter>>;

/// At every step.
class SuppressTokensFilter final : public LogitsFilter {
public:
    explicit SuppressTokensFilter(std::vector<int> suppressTokens);
    void filterLogits(std::span<float> logits, std::span<const int> tokens) const override;

private:
    std::vector<int> m_suppressTokenIndexes;
};

/// At the first sampled position, so that a window cannot start with nothing.
class SuppressBlankFilter final : public LogitsFilter {
public:
    SuppressBlankFilter(const SpecialTokens& specialTokens, int sampleBegin);
    void filterLogits(std::span<float> logits, std::span<const int> tokens) const override;

private:
    int m_sampleBegin;
    std::vector<int> m_suppressTokenIndexes;
};

/// The rules for timestamps of the published Whisper decoder (Radford et al., "Robust Speech Recognition via
/// Large-Scale Weak Supervision", 2022): they come in pairs, never go back, open the sequence no later than
/// `maxInitialTimestampIndex` steps of 0.02 seconds in, and are taken where all of them together are more probable than
/// any other token.
///
/// A multilingual model writes a language and a task before the transcript, and where the prompt does not have them it
/// samples them itself. For such a model the rules therefore hold from the task token on, and not before it.
class TimestampRulesFilter final : public LogitsFilter {
public:
    TimestampRulesFilter(const SpecialTokens& specialTokens, int sampleBegin,
                         std::optional<int> maxInitialTimestampIndex, bool isModelMultilingual);
    void filterLogits(std::span<float> logits, std::span<const int> tokens) const override;

private:
    /// Where the transcript begins among the tokens; none while they have not come so far.
    std::optional<std::size_t> firstSampled(std::span<const int> tokens) const;

    SpecialTokens m_specialTokens;
    int m_sampleBegin;
    std::optional<int> m_maxInitialTimestampIndex;
    bool m_isModelMultilingual;
};

/// At the first position: a language and nothing else.
class LanguageLogitsFilter final : public LogitsFilter {
public:
    LanguageLogitsFilter(const std::set<int>& allLanguageTokens, int logitsDim, int sampleBegin);
    void filterLogits(std::span<float> logits, std::span<const int> tokens) const override;

private:
    int m_sampleBegin;
    std::vector<int> m_nonLanguageTokenIndexes;
};

} // namespace fenlo::whisper
