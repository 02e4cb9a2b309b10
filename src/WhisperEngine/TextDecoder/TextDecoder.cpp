#include "WhisperEngine/TextDecoder/TextDecoder.h"

#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/Models/ModelVariant.h"
#include "WhisperEngine/TextDecoder/TextMeasures.h"
#include "WhisperEngine/TokenSampler/Scores.h"
#include "WhisperEngine/TokenSampler/TokenSampler.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Text.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <span>
#include <utility>

namespace fenlo::whisper {

namespace {

int required(std::optional<int> size, const char* message) {
    if (!size || *size <= 0)
        throw WhisperError(WhisperError::Kind::prepareDecoderInputsFailed, message);
    return *size;
}

/// Of one token, when `logSum` is that of all scores.
float probabilityOf(int token, std::span<const float> logits, float logSum) {
    return std::exp(logits[static_cast<std::size_t>(token)] - logSum);
}

/// The flag of a window lives as long as its decoding, however that ends.
class EarlyStopFlag {
public:
    EarlyStopFlag(EarlyStopActor& actor, const Logging& logging)
        : m_actor(actor), m_logging(logging), m_window(files::makeUuid()) {
        m_actor.begin(m_window);
    }
    ~EarlyStopFlag() {
        m_logging.debug(m_actor.end(m_window) ? "Completed window: " + m_window
                                              : "Early stop flag not found for window: " + m_window);
    }
    EarlyStopFlag(const EarlyStopFlag&) = delete;
    EarlyStopFlag& operator=(const EarlyStopFlag&) = delete;

    void stop() { m_actor.stop(m_window); }
    bool isStopped() const { return m_actor.isStopped(m_window); }

private:
    EarlyStopActor& m_actor;
    const Logging& m_logging;
    const std::string m_window;
};

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
    m_sizes.audioFrames = m_model->audioFrames();
    m_isModelMultilingual = isMultilingual(m_sizes.logits);
    m_languageLogitsFilter =
        std::make_shared<LanguageLogitsFilter>(m_tokenizer->allLanguageTokens(), m_sizes.logits, 1);
}

std::vector<int> TextDecoder::prefillPrompt(const DecodingOptions& options, const std::string& language,
                                            const std::vector<int>& previousTokens) const {
    const SpecialTokens& special = m_tokenizer->specialTokens();
    const auto half = static_cast<std::ptrdiff_t>(m_sizes.kvCacheMaxSequenceLength / 2 - 1);
    const auto lastOf = [half](const std::vector<int>& tokens) {
        return std::span(tokens).last(static_cast<std::size_t>(std::min<std::ptrdiff_t>(half, std::ssize(tokens))));
    };
    std::vector<int> prompt;
    if (!previousTokens.empty()) {
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
    if (options.withoutTimestamps)
        prompt.push_back(special.noTimestampsToken);
    if (options.prefixTokens)
        std::ranges::copy(lastOf(*options.prefixTokens), std::back_inserter(prompt));
    // What is beyond the model's context could not be fed to it.
    const auto most = static_cast<std::size_t>(m_sizes.kvCacheMaxSequenceLength - 1);
    if (prompt.size() > most)
        prompt.erase(prompt.begin(), prompt.end() - static_cast<std::ptrdiff_t>(most));
    for (const int token : prompt)
        if (token < 0 || token >= m_sizes.logits)
            throw WhisperError(WhisperError::Kind::prepareDecoderInputsFailed,
                               "the prompt holds the token " + std::to_string(token) +
                                   ", which this model does not have; use the tokenizer of the model");
    return prompt;
}

DecodingInputs TextDecoder::prepareDecoderInputs(std::vector<int> withPrompt, bool withAlignment) const {
    const auto positions = static_cast<std::size_t>(m_sizes.kvCacheMaxSequenceLength);
    DecodingInputs inputs;
    inputs.keyCache.resize(positions * static_cast<std::size_t>(m_sizes.kvCacheEmbedDim));
    inputs.valueCache.resize(inputs.keyCache.size());
    inputs.kvCacheUpdateMask.resize(positions);
    inputs.decoderKeyPaddingMask.resize(positions);
    if (withAlignment)
        inputs.alignmentWeights.resize(positions * static_cast<std::size_t>(m_sizes.audioFrames));
    inputs.reset(std::move(withPrompt));
    return inputs;
}

void TextDecoder::prefillDecoderInputs(DecodingInputs& inputs, const DecodingOptions& options,
                                       const std::string& language) const {
    if (!m_prefillData || !options.usePrefillCache || !options.usePrefillPrompt)
        return;
    const auto values = static_cast<std::size_t>(m_prefillData->positions() * m_sizes.kvCacheEmbedDim);
    inputs.prefillKeyCache.resize(values);
    inputs.prefillValueCache.resize(values);
    const int languageToken = m_tokenizer->languageToken(language).value_or(m_tokenizer->specialTokens().englishToken);
    try {
        m_prefillData->predict(options.task == DecodingTask::translate ? 1 : 0,
                               languageToken - m_tokenizer->specialTokens().englishToken, inputs.prefillKeyCache,
                               inputs.prefillValueCache);
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

void TextDecoder::step(int token, const AudioEmbeddings& encoderOutput, DecodingInputs& inputs, std::span<float> logits,
                       TextDecoderModel::Scratch& scratch, TranscriptionTimings& timings) const {
    const auto position = static_cast<std::size_t>(inputs.cacheLength);
    const auto width = static_cast<std::size_t>(m_sizes.kvCacheEmbedDim);
    const auto frames = static_cast<std::size_t>(m_sizes.audioFrames);
    if (position > 0)
        inputs.kvCacheUpdateMask[position - 1] = 0;
    inputs.inputIds = token;
    inputs.kvCacheUpdateMask[position] = 1;
    inputs.decoderKeyPaddingMask[position] = 0;

    const TextDecoderInputs features{.input_ids = token,
                                     .cache_length = inputs.cacheLength,
                                     .key_cache = inputs.keyCache,
                                     .value_cache = inputs.valueCache,
                                     .kv_cache_update_mask = inputs.kvCacheUpdateMask,
                                     .decoder_key_padding_mask = inputs.decoderKeyPaddingMask,
                                     .encoder_output_embeds = &encoderOutput,
                                     .wantsLogits = !logits.empty(),
                                     .wantsAlignment = !inputs.alignmentWeights.empty()};
    // The updates go straight to their place: the model reads only the positions before this one.
    const TextDecoderOutputs outputs{
        .logits = logits,
        .key_cache_updates = std::span(inputs.keyCache).subspan(position * width, width),
        .value_cache_updates = std::span(inputs.valueCache).subspan(position * width, width),
        .alignment_heads_weights = features.wantsAlignment
                                       ? std::span(inputs.alignmentWeights).subspan(position * frames, frames)
                                       : std::span<float>()};
    const double begin = m_clock.now();
    m_model->predict(features, outputs, scratch);
    timings.decodingPredictions += m_clock.now() - begin;
    ++timings.totalKVUpdateRuns;
    ++inputs.cacheLength;
}

DecodingResult TextDecoder::decodeText(const AudioEmbeddings& encoderOutput, DecodingInputs& inputs,
                                       TokenSampler& sampler, const DecodingOptions& options,
                                       const std::string& language, int windowId, const TranscriptionCallback& callback,
                                       TranscriptionTimings& timings, std::stop_token stop) const {
    const SpecialTokens& special = m_tokenizer->specialTokens();
    const std::vector<int> prompt = inputs.initialPrompt;
    const int promptLength = static_cast<int>(prompt.size());
    inputs.reset(prompt);

    // A stored cache covers the fixed start only when nothing stands before it.
    int begin = 0;
    if (!inputs.prefillKeyCache.empty() && prompt.front() == special.startOfTranscriptToken) {
        begin = std::min(m_prefillData->positions(), promptLength - 1);
        const auto values = static_cast<std::ptrdiff_t>(begin) * m_sizes.kvCacheEmbedDim;
        std::copy_n(inputs.prefillKeyCache.begin(), values, inputs.keyCache.begin());
        std::copy_n(inputs.prefillValueCache.begin(), values, inputs.valueCache.begin());
        std::fill_n(inputs.decoderKeyPaddingMask.begin(), begin, 0.0f);
        inputs.cacheLength = begin;
    }
    const int lastStep = maxTokenContext - 1;
    const int end = std::min(
        {promptLength + std::min(options.sampleLength, lastStep), lastStep, m_sizes.kvCacheMaxSequenceLength - 1});
    if (m_logging.wants(LogLevel::debug))
        m_logging.debug("Running main loop for a maximum of " + std::to_string(end) +
                        " iterations, starting at index " + std::to_string(begin));

    const LogitsFilters filters = filtersFor(options, promptLength);
    const auto scratch = m_model->makeScratch();
    std::vector<float> logits(static_cast<std::size_t>(m_sizes.logits));
    EarlyStopFlag earlyStop(m_earlyStopActor, m_logging);
    SamplingResult sampled{.tokens = prompt, .logProbs = std::vector<float>(prompt.size(), 0.0f), .completed = false};
    bool firstTokenFailed = false;
    float noSpeechProb = 0;
    const double loopBegin = m_clock.now();
    const auto describe = [&](const char* what, int index, int token) {
        if (m_logging.wants(LogLevel::debug))
            m_logging.debug(std::string(what) + " tokenIndex: " + std::to_string(index) +
                            ", token: " + std::to_string(token) + ", text: " + m_tokenizer->decode(std::vector{token}));
    };
    for (int index = 0; index < begin; ++index)
        describe("Skipping prompt", index, prompt[static_cast<std::size_t>(index)]);

    for (int index = begin; index < end && !sampled.completed; ++index) {
        if (stop.stop_requested())
            throw WhisperError(WhisperError::Kind::cancelled, "cancelled");
        const int token = sampled.tokens[static_cast<std::size_t>(index)];
        const bool startsTranscript = token == special.startOfTranscriptToken && index < promptLength;
        const bool isInsidePrompt = index < promptLength - 1;
        step(token, encoderOutput, inputs, isInsidePrompt && !startsTranscript ? std::span<float>() : std::span(logits),
             *scratch, timings);
        ++timings.totalDecodingLoops;
        if (startsTranscript)
            noSpeechProb = probabilityOf(special.noSpeechToken, logits, logSumExp(logits, maximumScore(logits)));
        if (isInsidePrompt) {
            describe("Forcing prompt", index, prompt[static_cast<std::size_t>(index) + 1]);
            continue;
        }

        const double filtering = m_clock.now();
        for (const auto& filter : filters)
            filter->filterLogits(logits, sampled.tokens);
        const double sampling = m_clock.now();
        sampled = sampler.update(std::move(sampled.tokens), logits, std::move(sampled.logProbs));
        timings.decodingFiltering += sampling - filtering;
        timings.decodingSampling += m_clock.now() - sampling;
        describe("Predicted next", index, sampled.tokens.back());

        if (index == promptLength - 1) {
            if (timings.firstTokenTime == 0)
                timings.firstTokenTime = m_clock.now();
            m_logging.debug("Found first token at: " + text::fixed(timings.firstTokenTime, 3));
            if (options.firstTokenLogProbThreshold && sampled.logProbs.back() < *options.firstTokenLogProbThreshold) {
                firstTokenFailed = true;
                break;
            }
        }
        if (callback && !sampled.completed) {
            const auto generated = std::span(sampled.tokens).subspan(prompt.size());
            const auto logProbs = std::span(sampled.logProbs).subspan(prompt.size());
            TranscriptionProgress progress{.timings = timings,
                                           .text = m_tokenizer->decode(generated, true),
                                           .tokens = {generated.begin(), generated.end()},
                                           .temperature = std::nullopt,
                                           .avgLogprob = std::reduce(logProbs.begin(), logProbs.end()) /
                                                         static_cast<float>(logProbs.size()),
                                           .compressionRatio = std::nullopt,
                                           .windowId = windowId};
            if (!callback(progress))
                earlyStop.stop();
        }
        if (earlyStop.isStopped())
            break;
    }

    const auto sampledCount = sampled.tokens.size() - prompt.size();
    const float logProbSum = std::reduce(sampled.logProbs.begin(), sampled.logProbs.end());
    sampled = sampler.finalize(std::move(sampled.tokens), std::move(sampled.logProbs));
    DecodingResult result;
    result.language = language;
    result.avgLogProb = sampledCount == 0 ? 0 : logProbSum / static_cast<float>(sampledCount);
    result.noSpeechProb = noSpeechProb;
    result.text = m_tokenizer->decode(std::span(sampled.tokens).subspan(prompt.size()), true);
    result.compressionRatio = compressionRatio(result.text, m_logging);
    result.tokens = std::move(sampled.tokens);
    result.tokenLogProbs = std::move(sampled.logProbs);
    if (firstTokenFailed)
        result.fallback = DecodingFallback{.needsFallback = true, .fallbackReason = "firstTokenLogProbThreshold"};
    timings.decodingLoop += m_clock.now() - loopBegin;
    return result;
}

DecodingResult TextDecoder::detectLanguage(const AudioEmbeddings& encoderOutput, DecodingInputs& inputs,
                                           TokenSampler& sampler, TranscriptionTimings& timings) const {
    m_logging.debug("Detecting language...");
    const std::vector<int> start{m_tokenizer->specialTokens().startOfTranscriptToken};
    inputs.reset(start);
    std::vector<float> logits(static_cast<std::size_t>(m_sizes.logits));
    const auto scratch = m_model->makeScratch();
    step(start.front(), encoderOutput, inputs, logits, *scratch, timings);
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
        m_logging.debug("Detected language: " + code);
    } else {
        result.language = defaultLanguageCode;
        m_logging.error("Detected language " + code + " is not supported, defaulting to " + defaultLanguageCode);
    }
    result.tokens = sampled.tokens;
    result.tokenLogProbs = sampled.logProbs;
    return result;
}

} // namespace fenlo::whisper
