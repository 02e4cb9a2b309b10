#include "WhisperEngine/TextDecoder/WindowDecoding.h"

#include "WhisperEngine/TextDecoder/TextMeasures.h"
#include "WhisperEngine/TokenSampler/Scores.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"
#include "base/Clock.h"
#include "base/Files.h"

#include <algorithm>
#include <numeric>
#include <span>
#include <utility>

namespace fenlo::whisper {

TextDecoder::WindowDecoding::EarlyStopFlag::EarlyStopFlag(EarlyStopActor& actor, const Logging& logging)
    : m_actor(actor), m_logging(logging), m_window(files::makeUuid()) {
    m_actor.begin(m_window);
}

TextDecoder::WindowDecoding::EarlyStopFlag::~EarlyStopFlag() {
    if (m_actor.end(m_window))
        m_logging.debug("Completed window: {}", m_window);
    else
        m_logging.debug("Early stop flag not found for window: {}", m_window);
}

TextDecoder::WindowDecoding::WindowDecoding(const TextDecoder& decoder, CacheStepper stepper, TokenSampler& sampler,
                                            const DecodingOptions& options, const WindowContext& window)
    : m_decoder(decoder), m_stepper(std::move(stepper)), m_sampler(sampler), m_options(options), m_window(window),
      m_special(decoder.m_tokenizer->specialTokens()), m_logging(decoder.m_logging),
      m_promptLength(static_cast<int>(m_stepper.inputs().initialPrompt.size())),
      m_end(std::min({m_promptLength + std::min(options.sampleLength, maxTokenContext - 1), maxTokenContext - 1,
                      decoder.m_sizes.kvCacheMaxSequenceLength - 1})),
      m_filters(decoder.filtersFor(options, m_promptLength)), m_earlyStop(decoder.m_earlyStopActor, m_logging),
      m_begin(decoder.m_clock.now()), m_logits(static_cast<std::size_t>(decoder.m_sizes.logits)) {
    const std::vector<int>& prompt = m_stepper.inputs().initialPrompt;
    m_sampled = {.tokens = prompt, .logProbs = std::vector<float>(prompt.size(), 0.0f), .completed = false};
    m_stepper.inputs().reset(prompt);
}

void TextDecoder::WindowDecoding::prefill() {
    const int begin = takeStoredStart();
    m_logging.debug("Running main loop for a maximum of {} iterations, starting at index {}", m_end, begin);
    for (; m_index < begin; ++m_index)
        describe("Skipping prompt", m_sampled.tokens[static_cast<std::size_t>(m_index)]);
    for (; m_index < std::min(m_promptLength - 1, m_end); ++m_index) {
        call(false);
        describe("Forcing prompt", m_sampled.tokens[static_cast<std::size_t>(m_index) + 1]);
    }
}

/// A stored cache covers the fixed start only when nothing stands before it.
int TextDecoder::WindowDecoding::takeStoredStart() {
    DecodingInputs& inputs = m_stepper.inputs();
    if (!inputs.prefillKeyCache.empty() && inputs.initialPrompt.front() == m_special.startOfTranscriptToken)
        inputs.takePrefill(std::min(m_decoder.m_prefillData->positions(), m_promptLength - 1));
    return inputs.cacheLength;
}

bool TextDecoder::WindowDecoding::step() {
    if (m_index >= m_end || m_sampled.completed)
        return false;
    call(true);
    sample();
    describe("Predicted next", m_sampled.tokens.back());
    if (m_index == m_promptLength - 1 && firstTokenIsUnlikely()) {
        m_firstTokenFailed = true;
        return false;
    }
    if (m_window.callback && !m_sampled.completed)
        tellProgress();
    ++m_index;
    return !m_earlyStop.isStopped();
}

void TextDecoder::WindowDecoding::call(bool wantsLogits) {
    if (m_window.stop.stop_requested())
        throw WhisperError(WhisperError::Kind::cancelled, "cancelled");
    const int token = m_sampled.tokens[static_cast<std::size_t>(m_index)];
    const bool startsTranscript = token == m_special.startOfTranscriptToken && m_index < m_promptLength;
    const bool computesLogits = wantsLogits || startsTranscript;
    m_decoder.step(m_stepper, token, computesLogits ? std::span(m_logits) : std::span<float>(), m_window.timings);
    ++m_window.timings.totalDecodingLoops;
    if (startsTranscript && m_special.noSpeechToken != noToken && m_special.noSpeechToken < m_decoder.m_sizes.logits)
        m_noSpeechProb = probabilityOf(m_special.noSpeechToken, m_logits, logSumExp(m_logits, maximumScore(m_logits)));
}

void TextDecoder::WindowDecoding::sample() {
    Clock& clock = m_decoder.m_clock;
    const double filtering = clock.now();
    for (const auto& filter : m_filters)
        filter->filterLogits(m_logits, m_sampled.tokens);
    const double sampling = clock.now();
    m_sampled = m_sampler.update(std::move(m_sampled.tokens), m_logits, std::move(m_sampled.logProbs));
    m_window.timings.decodingFiltering += sampling - filtering;
    m_window.timings.decodingSampling += clock.now() - sampling;
}

bool TextDecoder::WindowDecoding::firstTokenIsUnlikely() {
    double& firstTokenTime = m_window.timings.firstTokenTime;
    if (firstTokenTime == 0)
        firstTokenTime = m_decoder.m_clock.now();
    m_logging.debug("Found first token at: {:.3f}", firstTokenTime);
    return m_options.firstTokenLogProbThreshold && m_sampled.logProbs.back() < *m_options.firstTokenLogProbThreshold;
}

void TextDecoder::WindowDecoding::tellProgress() {
    const auto prompt = static_cast<std::size_t>(m_promptLength);
    const auto generated = std::span(m_sampled.tokens).subspan(prompt);
    const auto logProbs = std::span(m_sampled.logProbs).subspan(prompt);
    const TranscriptionProgress progress{.timings = m_window.timings,
                                         .text = m_decoder.m_tokenizer->decode(generated, true),
                                         .tokens = {generated.begin(), generated.end()},
                                         .temperature = std::nullopt,
                                         .avgLogprob = std::reduce(logProbs.begin(), logProbs.end()) /
                                                       static_cast<float>(logProbs.size()),
                                         .compressionRatio = std::nullopt,
                                         .windowId = m_window.windowId};
    if (!m_window.callback(progress))
        m_earlyStop.stop();
}

void TextDecoder::WindowDecoding::describe(const char* what, int token) const {
    if (m_logging.wants(LogLevel::debug)) // the text of a token costs something
        m_logging.debug("{} tokenIndex: {}, token: {}, text: {}", what, m_index, token,
                        m_decoder.m_tokenizer->decode(std::vector{token}));
}

DecodingResult TextDecoder::WindowDecoding::finish() {
    const auto prompt = static_cast<std::size_t>(m_promptLength);
    const std::size_t sampledCount = m_sampled.tokens.size() - prompt;
    const float logProbSum = std::reduce(m_sampled.logProbs.begin(), m_sampled.logProbs.end());
    SamplingResult sampled = m_sampler.finalize(std::move(m_sampled.tokens), std::move(m_sampled.logProbs));
    DecodingResult result;
    result.language = m_window.language;
    result.avgLogProb = sampledCount == 0 ? 0 : logProbSum / static_cast<float>(sampledCount);
    result.noSpeechProb = m_noSpeechProb;
    result.text = m_decoder.m_tokenizer->decode(std::span(sampled.tokens).subspan(prompt), true);
    result.compressionRatio = compressionRatio(result.text, m_logging);
    result.tokens = std::move(sampled.tokens);
    result.tokenLogProbs = std::move(sampled.logProbs);
    if (m_firstTokenFailed)
        result.fallback = DecodingFallback{.needsFallback = true, .fallbackReason = "firstTokenLogProbThreshold"};
    m_window.timings.decodingLoop += m_decoder.m_clock.now() - m_begin;
    return result;
}

} // namespace fenlo::whisper
