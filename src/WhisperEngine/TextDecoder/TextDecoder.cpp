#include "WhisperEngine/TextDecoder/TextDecoder.h"

#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/Models/ModelVariant.h"
#include "WhisperEngine/TextDecoder/CacheStepper.h"
#include "WhisperEngine/TextDecoder/StepBatch.h"
#include "WhisperEngine/TextDecoder/WindowDecoding.h"
#include "WhisperEngine/TokenSampler/Scores.h"
#include "WhisperEngine/TokenSampler/TokenSampler.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"
#include "base/Clock.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>

namespace fenlo::whisper {

namespace {

int required(std::optional<int> size, const char* message) {
    if (!size || *size <= 0)
        throw WhisperError(WhisperError::Kind::prepareDecoderInputsFailed, message);
    return *size;
}

} // namespace

TextDecoder::TextDecoder(std::shared_ptr<const TextDecoderModel> model,
                         std::shared_ptr<const TextDecoderContextPrefillModel> prefillData,
                         std::shared_ptr<const WhisperTokenizer> tokenizer, LogitsFilters logitsFilters, Clock& clock,
                         Logging logging)
    : m_model(std::move(model)), m_prefillData(std::move(prefillData)), m_tokenizer(std::move(tokenizer)),
      m_logitsFilters(std::move(logitsFilters)), m_clock(clock), m_logging(std::move(logging)) {
    if (!m_model)
        throw WhisperError(WhisperError::Kind::modelsUnavailable, "Models are unavailable");
    if (!m_tokenizer)
        throw WhisperError(WhisperError::Kind::tokenizerUnavailable, "Tokenizer is unavailable");
    m_sizes.kvCacheEmbedDim = required(m_model->kvCacheEmbedDim(), "Unable to determine kvCacheEmbedDim");
    required(m_model->encoderOutputDim(), "Unable to determine encoderOutputDim");
    m_sizes.kvCacheMaxSequenceLength = std::min(
        maxTokenContext, required(m_model->kvCacheMaxSequenceLength(), "Unable to determine kvCacheMaxSequenceLength"));
    m_sizes.logits = required(m_model->logitsSize(), "Failed to read logits size from model");
    m_isModelMultilingual = isMultilingual(m_sizes.logits);
    m_languageLogitsFilter =
        std::make_shared<LanguageLogitsFilter>(m_tokenizer->allLanguageTokens(), m_sizes.logits, 1);
    m_batch = std::make_unique<StepBatch>(*m_model);
}

TextDecoder::~TextDecoder() = default;

std::vector<int> TextDecoder::prefillPrompt(const DecodingOptions& options, const std::string& language,
                                            const std::vector<int>& previousTokens) const {
    const SpecialTokens& special = m_tokenizer->specialTokens();
    const auto half = static_cast<std::ptrdiff_t>(m_sizes.kvCacheMaxSequenceLength / 2 - 1);
    const auto lastOf = [half](const std::vector<int>& tokens) {
        return std::span(tokens).last(static_cast<std::size_t>(std::min<std::ptrdiff_t>(half, std::ssize(tokens))));
    };
    std::vector<int> prompt;
    if (!previousTokens.empty() && special.startOfPreviousToken != noToken) {
        prompt.push_back(special.startOfPreviousToken);
        std::ranges::copy(lastOf(previousTokens), std::back_inserter(prompt));
    }
    prompt.push_back(special.startOfTranscriptToken);
    if (!options.usePrefillPrompt)
        return prompt;
    if (m_isModelMultilingual) {
        prompt.push_back(m_tokenizer->languageToken(language).value_or(special.englishToken));
        prompt.push_back(options.task == DecodingTask::translate ? special.translateToken : special.transcribeToken);
    }
    if (options.withoutTimestamps && special.noTimestampsToken != noToken)
        prompt.push_back(special.noTimestampsToken);
    if (options.prefixTokens)
        std::ranges::copy(lastOf(*options.prefixTokens), std::back_inserter(prompt));
    // What is beyond the model's context could not be fed to it.
    const auto most = static_cast<std::size_t>(m_sizes.kvCacheMaxSequenceLength - 1);
    if (prompt.size() > most)
        prompt.erase(prompt.begin(), prompt.end() - static_cast<std::ptrdiff_t>(most));
    for (const int token : prompt)
        if (token == noToken)
            throw WhisperError(
                WhisperError::Kind::prepareDecoderInputsFailed,
                "the tokenizer has no token for the language or the task; use the tokenizer of the model");
        else if (token < 0 || token >= m_sizes.logits)
            throw WhisperError(WhisperError::Kind::prepareDecoderInputsFailed,
                               "the prompt holds the token " + std::to_string(token) +
                                   ", which this model does not have; use the tokenizer of the model");
    return prompt;
}

DecodingInputs TextDecoder::prepareDecoderInputs(std::vector<int> withPrompt, bool withAlignment) const {
    auto inputs = DecodingInputs::forModel(*m_model, m_sizes.kvCacheMaxSequenceLength, withAlignment);
    inputs.reset(std::move(withPrompt));
    return inputs;
}

void TextDecoder::prefillDecoderInputs(DecodingInputs& inputs, const DecodingOptions& options,
                                       const std::string& language) const {
    const int englishToken = m_tokenizer->specialTokens().englishToken; // the languages are counted from it
    if (!m_prefillData || !options.usePrefillCache || !options.usePrefillPrompt || englishToken == noToken)
        return;
    const auto values = static_cast<std::size_t>(m_prefillData->positions()) * m_sizes.kvCacheEmbedDim;
    inputs.prefillKeyCache.resize(values);
    inputs.prefillValueCache.resize(values);
    const int languageToken = m_tokenizer->languageToken(language).value_or(englishToken);
    try {
        m_prefillData->predict(options.task == DecodingTask::translate ? 1 : 0, languageToken - englishToken,
                               inputs.prefillKeyCache, inputs.prefillValueCache);
    } catch (const std::exception&) {
        throw WhisperError(WhisperError::Kind::prefillFailed, "Unable to prefill cache");
    }
}

LogitsFilters TextDecoder::filtersFor(const DecodingOptions& options, int sampleBegin) const {
    const SpecialTokens& special = m_tokenizer->specialTokens();
    LogitsFilters filters = m_logitsFilters;
    if (!options.supressTokens.empty())
        filters.push_back(std::make_shared<SuppressTokensFilter>(options.supressTokens));
    if (options.suppressBlank)
        filters.push_back(std::make_shared<SuppressBlankFilter>(special, sampleBegin));
    if (!options.withoutTimestamps) {
        std::optional<int> maxInitialIndex;
        if (options.maxInitialTimestamp)
            maxInitialIndex = static_cast<int>(std::lround(*options.maxInitialTimestamp / secondsPerTimeToken));
        filters.push_back(
            std::make_shared<TimestampRulesFilter>(special, sampleBegin, maxInitialIndex, m_isModelMultilingual));
    }
    return filters;
}

void TextDecoder::step(CacheStepper& stepper, int token, std::span<float> logits, TranscriptionTimings& timings) const {
    const double begin = m_clock.now();
    stepper.step(token, logits);
    timings.decodingPredictions += m_clock.now() - begin;
    ++timings.totalKVUpdateRuns;
}

DecodingResult TextDecoder::decodeText(const AudioEmbeddings& encoderOutput, DecodingInputs& inputs,
                                       TokenSampler& sampler, const DecodingOptions& options,
                                       const WindowContext& window) const {
    StepBatch::Window shared(*m_batch);
    CacheStepper stepper(*m_model, encoderOutput, inputs,
                         [&](const TextDecoderModel::Call& call) { shared.step(call, window.stop); });
    WindowDecoding decoding(*this, std::move(stepper), sampler, options, window);
    decoding.prefill();
    while (decoding.step()) {
    }
    return decoding.finish();
}

DecodingResult TextDecoder::detectLanguage(const AudioEmbeddings& encoderOutput, DecodingInputs& inputs,
                                           TokenSampler& sampler, TranscriptionTimings& timings,
                                           std::stop_token stop) const {
    m_logging.debug("Detecting language...");
    const std::vector<int> start{m_tokenizer->specialTokens().startOfTranscriptToken};
    inputs.reset(start);
    std::vector<float> logits(static_cast<std::size_t>(m_sizes.logits));
    StepBatch::Window shared(*m_batch);
    CacheStepper stepper(*m_model, encoderOutput, inputs,
                         [&](const TextDecoderModel::Call& call) { shared.step(call, stop); });
    step(stepper, start.front(), logits, timings);
    m_languageLogitsFilter->filterLogits(logits, start);
    if (std::ranges::none_of(logits, [](float logit) { return std::isfinite(logit); }))
        throw WhisperError(WhisperError::Kind::decodingLogitsFailed, "Unable to decode logits");

    const float logSum = logSumExp(logits, maximumScore(logits));
    DecodingResult result;
    for (const int token : m_tokenizer->allLanguageTokens())
        if (token < m_sizes.logits)
            result.languageProbs[m_tokenizer->languageCode(token)] = probabilityOf(token, logits, logSum);
    const SamplingResult sampled = sampler.update(start, logits, {0.0f});
    const std::string code = m_tokenizer->languageCode(sampled.tokens.back());
    if (languageCodeOf(code)) {
        result.language = code;
        m_logging.debug("Detected language: {}", code);
    } else {
        result.language = defaultLanguageCode;
        m_logging.error("Detected language {} is not supported, defaulting to {}", code, defaultLanguageCode);
    }
    result.tokens = sampled.tokens;
    result.tokenLogProbs = sampled.logProbs;
    return result;
}

} // namespace fenlo::whisper
