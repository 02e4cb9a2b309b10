#include "WhisperEngine/TranscribeTask.h"

#include "WhisperEngine/AudioProcessor/AudioChunker.h"
#include "WhisperEngine/AudioProcessor/AudioProcessor.h"
#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"
#include "WhisperEngine/TextDecoder/TextMeasures.h"
#include "WhisperEngine/TokenSampler/TokenSampler.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"
#include "base/Clock.h"
#include "base/Text.h"

#include <algorithm>
#include <utility>

namespace fenlo::whisper {

namespace {

std::string joined(const auto& values, auto&& toText) {
    std::string text = "[";
    for (const auto& value : values)
        text += (text.size() > 1 ? ", " : "") + toText(value);
    return text + "]";
}

std::string listOf(const std::vector<int>& tokens) {
    return joined(tokens, [](int token) { return std::to_string(token); });
}

/// Adds the time from its birth to its death.
class Stopwatch {
public:
    Stopwatch(Clock& clock, double& total) : m_clock(clock), m_total(total), m_begin(clock.now()) {}
    ~Stopwatch() { m_total += m_clock.now() - m_begin; }
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

private:
    Clock& m_clock;
    double& m_total;
    const double m_begin;
};

} // namespace

std::string textOf(const std::vector<TranscriptionSegment>& segments) {
    std::string text;
    for (const TranscriptionSegment& segment : segments)
        text += segment.text;
    return text;
}

TranscribeTask::TranscribeTask(const TaskComponents& components, SegmentDiscoveryCallback segmentDiscoveryCallback,
                               std::function<void(double)> progress)
    : m_components(components), m_segmentDiscoveryCallback(std::move(segmentDiscoveryCallback)),
      m_progress(std::move(progress)) {}

void TranscribeTask::resume(StoppedTranscription stopped) {
    m_firstClip = stopped.checkpoint.clip;
    m_firstSeek = stopped.checkpoint.seek;
    m_windowId = stopped.checkpoint.windowId;
    m_language = std::move(stopped.checkpoint.language);
    m_previousTokens = std::move(stopped.checkpoint.previousTokens);
    m_lastSpeechTimestamp = stopped.checkpoint.lastSpeechTimestamp;
    m_segments = std::move(stopped.segments);
}

TranscriptionResult TranscribeTask::run(std::span<const float> audioArray, const DecodingOptions& options,
                                        const TranscriptionCallback& callback, std::stop_token stop) {
    if (audioArray.empty())
        throw WhisperError(WhisperError::Kind::audioProcessingFailed, "Audio samples are nil");
    const Logging& logging = m_components.logging;
    const TextDecoder& decoder = m_components.textDecoder;
    m_audio = audioArray;
    m_options = options;
    m_callback = callback;
    m_stop = std::move(stop);
    if (!m_firstSeek)
        m_previousTokens = options.promptTokens.value_or(std::vector<int>());
    if (!decoder.isModelMultilingual())
        m_language = defaultLanguageCode;
    else if (options.language)
        m_language = languageCodeOf(*options.language).value_or(defaultLanguageCode);
    else if (options.detectLanguage == false)
        m_language = defaultLanguageCode;

    m_timings.pipelineStart = m_components.clock.now();
    m_timings.inputAudioSeconds = static_cast<double>(m_audio.size()) / sampleRate;
    logging.debug("Starting pipeline at: " + text::fixed(m_timings.pipelineStart, 3));
    {
        const Stopwatch watch(m_components.clock, m_timings.decodingInit);
        m_inputs = std::make_unique<DecodingInputs>(decoder.prepareDecoderInputs({}, options.wordTimestamps));
    }
    logging.debug("Decoder init time: " + text::fixed(m_timings.decodingInit, 3));

    const auto clips = prepareSeekClips(options, static_cast<int>(m_audio.size()));
    logging.debug("Decoding seek clips: " + joined(clips, [](const auto& clip) {
                      return "(" + std::to_string(clip.first) + ", " + std::to_string(clip.second) + ")";
                  }));
    for (std::size_t clip = m_firstClip; clip < clips.size(); ++clip) {
        const auto [begin, end] = clips[clip];
        transcribeClip(clip, begin, end, clip == m_firstClip ? m_firstSeek.value_or(begin) : begin);
    }
    if (m_progress)
        m_progress(1);

    m_timings.fullPipeline = m_components.clock.now() - m_timings.pipelineStart;
    m_timings.decodingNonPrediction = m_timings.decodingLoop - m_timings.decodingPredictions;
    if (options.verbose)
        logTimings();
    return {.text = textOf(m_segments),
            .segments = std::move(m_segments),
            .language = m_language.empty() ? defaultLanguageCode : m_language,
            .timings = m_timings,
            .seekTime = std::nullopt};
}

void TranscribeTask::transcribeClip(std::size_t clip, int begin, int end, int seek) {
    const auto windowSamples = m_components.featureExtractor.windowSamples();
    const int shortestRest = static_cast<int>(m_options.windowClipTime * sampleRate);
    // What is left after a window is mostly padding when it is shorter than the clip time, and would only invite
    // invented words; a clip that is short from the start is decoded all the same.
    const auto isLeft = [&] { return seek < end && (seek == begin || end - seek > shortestRest); };
    while (isLeft() && (!m_options.maxWindowSeek || seek < *m_options.maxWindowSeek)) {
        if (m_stop.stop_requested())
            throw WhisperError(WhisperError::Kind::cancelled, "cancelled");
        const int length = std::min(windowSamples, end - seek);
        m_components.logging.debug("Decoding Window Size: " + std::to_string(length) +
                                   " Seek: " + std::to_string(seek));
        const AudioEmbeddings embeddings = encode(seek, length);
        if (m_language.empty())
            m_language = detectLanguage(embeddings).language;
        const DecodingResult result = decodeWithFallback(embeddings);
        ++m_timings.totalDecodingWindows;
        const std::size_t segmentsBefore = m_segments.size();
        seek = std::max(seek + 1, takeSegments(result, seek, length));
        ++m_windowId;
        tellCheckpoint(clip, seek, segmentsBefore);
        if (m_progress)
            m_progress(std::min(1.0, static_cast<double>(seek) / static_cast<double>(m_audio.size())));
    }
}

void TranscribeTask::tellCheckpoint(std::size_t clip, int seek, std::size_t segmentsBefore) const {
    if (m_checkpointCallback)
        m_checkpointCallback({.clip = clip,
                              .seek = seek,
                              .windowId = m_windowId,
                              .language = m_language,
                              .previousTokens = m_previousTokens,
                              .lastSpeechTimestamp = m_lastSpeechTimestamp},
                             std::span(m_segments).subspan(segmentsBefore));
}

AudioEmbeddings TranscribeTask::encode(int seek, int length) {
    const MelSpectrogramModel& featureExtractor = m_components.featureExtractor;
    std::vector<float> window;
    {
        const Stopwatch watch(m_components.clock, m_timings.audioProcessing);
        window = m_components.audioProcessor.padOrTrim(m_audio.first(static_cast<std::size_t>(seek + length)), seek,
                                                       featureExtractor.windowSamples());
    }
    ++m_timings.totalAudioProcessingRuns;
    std::vector<float> mel(static_cast<std::size_t>(featureExtractor.melBands()) *
                           static_cast<std::size_t>(featureExtractor.melFrames()));
    {
        const Stopwatch watch(m_components.clock, m_timings.logmels);
        featureExtractor.predict(window, mel);
    }
    ++m_timings.totalLogmelRuns;
    AudioEmbeddings embeddings;
    {
        const Stopwatch watch(m_components.clock, m_timings.encoding);
        m_components.audioEncoder.predict(mel, embeddings);
    }
    ++m_timings.totalEncodingRuns;
    if (embeddings.encoder_output_embeds.empty())
        throw WhisperError(WhisperError::Kind::transcriptionFailed, "Encoder output is nil");
    const Stopwatch watch(m_components.clock, m_timings.prefill);
    m_components.textDecoder.attach(embeddings);
    return embeddings;
}

DecodingResult TranscribeTask::detectLanguage(std::span<const float> audioArray) {
    m_audio = audioArray;
    const int length = std::min(static_cast<int>(m_audio.size()), m_components.featureExtractor.windowSamples());
    m_inputs = std::make_unique<DecodingInputs>(m_components.textDecoder.prepareDecoderInputs({}, false));
    return detectLanguage(encode(0, length));
}

DecodingResult TranscribeTask::detectLanguage(const AudioEmbeddings& embeddings) {
    GreedyTokenSampler sampler(0, m_components.tokenizer.specialTokens().endToken, m_options);
    return m_components.textDecoder.detectLanguage(embeddings, *m_inputs, sampler, m_timings);
}

DecodingResult TranscribeTask::decodeWithFallback(const AudioEmbeddings& embeddings) {
    const Logging& logging = m_components.logging;
    const TextDecoder& decoder = m_components.textDecoder;
    {
        const Stopwatch watch(m_components.clock, m_timings.prefill);
        m_inputs->reset(decoder.prefillPrompt(m_options, m_language, m_previousTokens));
        decoder.prefillDecoderInputs(*m_inputs, m_options, m_language);
    }
    logging.debug("Prefill time: " + text::fixed(m_timings.prefill, 3));
    logging.debug("Prefill prompt: " + listOf(m_inputs->initialPrompt));

    std::vector<float> temperatures;
    for (int i = 0; i <= std::max(0, m_options.temperatureFallbackCount); ++i)
        temperatures.push_back(
            throughHalf(m_options.temperature + static_cast<float>(i) * m_options.temperatureIncrementOnFallback));
    logging.debug("Decoding with temperatures " +
                  joined(temperatures, [](float temperature) { return text::fixed(temperature, 4); }));

    DecodingResult result;
    for (std::size_t pass = 0; pass < temperatures.size(); ++pass) {
        const double begin = m_components.clock.now();
        logging.debug("Decoding Temperature: " + text::fixed(temperatures[pass], 4));
        DecodingOptions options = m_options;
        options.seed += static_cast<unsigned>(pass);
        GreedyTokenSampler sampler(temperatures[pass], m_components.tokenizer.specialTokens().endToken, options);
        result = decoder.decodeText(embeddings, *m_inputs, sampler, options, m_language, m_windowId, m_callback,
                                    m_timings, m_stop);
        result.temperature = temperatures[pass];
        result.fallback = verdict(result);
        if (pass > 0)
            m_timings.decodingFallback += m_components.clock.now() - begin;
        if (!result.fallback || !result.fallback->needsFallback)
            break;
        if (pass + 1 < temperatures.size()) {
            ++m_timings.totalDecodingFallbacks;
            logging.info("Fallback #" + std::to_string(pass + 1) + " (" + result.fallback->fallbackReason + ")");
        }
    }
    return result;
}

/// What to make of a finished window, the first test that holds.
std::optional<DecodingFallback> TranscribeTask::verdict(const DecodingResult& result) const {
    if (result.fallback && result.fallback->needsFallback)
        return result.fallback; // the first token failed, and the loop has said so
    if (m_options.noSpeechThreshold && *m_options.noSpeechThreshold < result.noSpeechProb)
        return DecodingFallback{.needsFallback = false, .fallbackReason = "silence"};
    if (m_options.compressionRatioThreshold && *m_options.compressionRatioThreshold < result.compressionRatio)
        return DecodingFallback{.needsFallback = true, .fallbackReason = "compressionRatioThreshold"};
    if (m_options.logProbThreshold && *m_options.logProbThreshold > result.avgLogProb)
        return DecodingFallback{.needsFallback = true, .fallbackReason = "logProbThreshold"};
    return std::nullopt;
}

int TranscribeTask::takeSegments(const DecodingResult& result, int seek, int length) {
    const double begin = m_components.clock.now();
    SeekResult found = m_components.segmentSeeker.findSeekPointAndSegments(
        result, m_options, static_cast<int>(m_segments.size()), seek, length, m_components.tokenizer);
    m_timings.decodingWindowing += m_components.clock.now() - begin;
    m_components.logging.debug("Segments for window:");
    std::vector<TranscriptionSegment> segments =
        std::move(found.segments).value_or(std::vector<TranscriptionSegment>());
    if (m_options.wordTimestamps && !segments.empty())
        addWords(segments, result, seek, length);
    for (const TranscriptionSegment& segment : segments)
        m_components.logging.debug("[" + text::fixed(segment.start, 2) + " --> " + text::fixed(segment.end, 2) + "] " +
                                   segment.text);
    if (m_segmentDiscoveryCallback && !segments.empty())
        m_segmentDiscoveryCallback(segments);

    const bool failed = result.fallback && result.fallback->needsFallback;
    if (!failed && m_options.promptTokens && m_options.usePrefillPrompt) {
        m_previousTokens.clear();
        for (const TranscriptionSegment& segment : segments)
            std::ranges::copy_if(segment.tokens, std::back_inserter(m_previousTokens), [&](int token) {
                return token < m_components.tokenizer.specialTokens().specialTokenBegin;
            });
        m_components.logging.debug("Prefill prompt updated to: " + listOf(m_previousTokens));
    }
    std::ranges::move(segments, std::back_inserter(m_segments));
    return found.nextSeek;
}

void TranscribeTask::addWords(std::vector<TranscriptionSegment>& segments, const DecodingResult& result, int seek,
                              int length) {
    const Stopwatch watch(m_components.clock, m_timings.decodingWordTimestamps);
    // The attention that chose a token is that of the step before it.
    const int frames = static_cast<int>(m_inputs->alignmentWeights.size() / m_inputs->kvCacheUpdateMask.size());
    const int firstRow = static_cast<int>(m_inputs->initialPrompt.size()) - 1;
    const int rows = std::min(static_cast<int>(result.tokens.size()) - firstRow - 1, m_inputs->cacheLength - firstRow);
    const AlignmentWeights weights{
        .values = std::span(m_inputs->alignmentWeights)
                      .subspan(static_cast<std::size_t>(firstRow * frames), static_cast<std::size_t>(rows * frames)),
        .tokens = rows,
        .frames = frames};
    try {
        segments = m_components.segmentSeeker.addWordTimestamps(segments, weights, m_components.tokenizer, m_language,
                                                                seek, length, m_lastSpeechTimestamp, m_options,
                                                                m_timings, m_components.logging);
    } catch (const WhisperError& error) {
        m_components.logging.error(error.what()); // the window has no words; nothing else is lost
        return;
    }
    if (!segments.empty())
        m_lastSpeechTimestamp = segments.back().end;
}

void TranscribeTask::logTimings() const {
    const TranscriptionTimings& t = m_timings;
    const std::pair<const char*, double> stages[]{
        {"Audio Load:          ", t.audioLoading},
        {"Audio Processing:    ", t.audioProcessing},
        {"Mels:                ", t.logmels},
        {"Encoding:            ", t.encoding},
        {"Decoder Prefill:     ", t.prefill},
        {"Decoder Init:        ", t.decodingInit},
        {"Predictions:         ", t.decodingPredictions},
        {"Filtering:           ", t.decodingFiltering},
        {"Sampling:            ", t.decodingSampling},
        {"Fallbacks:           ", t.decodingFallback},
        {"Windowing:           ", t.decodingWindowing},
        {"Word Timestamps:     ", t.decodingWordTimestamps},
        {"Decoding Full Loop:  ", t.decodingLoop},
    };
    const Logging& logging = m_components.logging;
    logging.info("---- Transcription Timings ----");
    for (const auto& [name, seconds] : stages)
        logging.info(name + text::fixed(seconds * 1000, 2) + " ms");
    logging.info("Model Load Time:     " + text::fixed(t.modelLoading, 2) + " seconds");
    logging.info("Inference Duration:  " + text::fixed(t.fullPipeline, 2) + " seconds");
    logging.info("- Decoding Loop:     " + text::fixed(t.decodingLoop, 2) + " seconds");
    if (t.fullPipeline > 0 && t.inputAudioSeconds > 0) {
        logging.info("Real Time Factor:    " + text::fixed(t.fullPipeline / t.inputAudioSeconds, 3));
        logging.info("Tokens per second:   " + text::fixed(t.totalDecodingLoops / t.fullPipeline, 1));
    }
    logging.info("Fallbacks:           " + text::fixed(t.totalDecodingFallbacks, 0));
}

} // namespace fenlo::whisper
