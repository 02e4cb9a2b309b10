#include "WhisperEngine/TranscribeTask.h"

#include "WhisperEngine/AudioProcessor/AudioChunker.h"
#include "WhisperEngine/AudioProcessor/AudioProcessor.h"
#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"
#include "WhisperEngine/TemperatureFallback.h"
#include "WhisperEngine/TextDecoder/StepBatch.h"
#include "WhisperEngine/TokenSampler/TokenSampler.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"
#include "base/Clock.h"
#include "media/LastSound.h"

#include <algorithm>
#include <fmt/ranges.h>
#include <utility>

namespace fenlo::whisper {

namespace {

constexpr int leadIn = sampleRate / 10; // samples of silence before a clip that begins with speech

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

bool hasSegments(const SeekResult& found) {
    return found.segments && !found.segments->empty();
}

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
    m_audio = audioArray.first(options.endsAtLastSound ? behindLastSound(audioArray) : audioArray.size());
    m_options = options;
    m_callback = callback;
    m_stop = std::move(stop);
    if (options.losesNoSpeech)
        m_heard.emplace(m_audio, m_components.voiceActivityDetector);
    if (!m_firstSeek)
        m_previousTokens = options.promptTokens.value_or(std::vector<int>());
    m_language = languageToStartWith();

    m_timings.pipelineStart = m_components.clock.now();
    m_timings.inputAudioSeconds = static_cast<double>(m_audio.size()) / sampleRate;
    logging.debug("Starting pipeline at: {:.3f}", m_timings.pipelineStart);
    {
        const Stopwatch watch(m_components.clock, m_timings.decodingInit);
        m_inputs =
            std::make_unique<DecodingInputs>(m_components.textDecoder.prepareDecoderInputs({}, options.wordTimestamps));
    }
    logging.debug("Decoder init time: {:.3f}", m_timings.decodingInit);

    const auto clips = prepareSeekClips(options, static_cast<int>(m_audio.size()));
    logging.debug("Decoding seek clips: [{}]", fmt::join(clips, ", "));
    for (std::size_t clip = m_firstClip; clip < clips.size(); ++clip) {
        const auto [begin, end] = clips[clip];
        m_clip.emplace(begin, end, m_heard ? &*m_heard : nullptr, m_options);
        transcribeClip(clip, clip == m_firstClip ? m_firstSeek.value_or(begin) : begin);
    }
    if (m_progress)
        m_progress(1);

    m_timings.fullPipeline = m_components.clock.now() - m_timings.pipelineStart;
    m_timings.decodingNonPrediction = m_timings.decodingLoop - m_timings.decodingPredictions;
    if (options.verbose)
        logTimings(m_timings, logging);
    return {.text = textOf(m_segments),
            .segments = std::move(m_segments),
            .language = m_language.empty() ? defaultLanguageCode : m_language,
            .timings = m_timings,
            .seekTime = std::nullopt};
}

/// A code; empty where the audio is to tell, unless an earlier task has found it.
std::string TranscribeTask::languageToStartWith() const {
    if (!m_components.textDecoder.isModelMultilingual())
        return defaultLanguageCode;
    if (m_options.language)
        return languageCodeOf(*m_options.language).value_or(defaultLanguageCode);
    return m_options.detectLanguage == false ? defaultLanguageCode : m_language;
}

void TranscribeTask::transcribeClip(std::size_t clip, int seek) {
    while (m_clip->isLeft(seek) && (!m_options.maxWindowSeek || seek < *m_options.maxWindowSeek)) {
        const std::size_t segmentsBefore = m_segments.size();
        const int start = seek == m_clip->begin() && m_clip->needsLeadIn() ? seek - leadIn : seek;
        seek = transcribeWindow(start, std::min(m_components.featureExtractor.windowSamples(), m_clip->end() - start));
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

void TranscribeTask::throwIfStopped() const {
    if (m_stop.stop_requested())
        throw WhisperError(WhisperError::Kind::cancelled, "cancelled");
}

int TranscribeTask::transcribeWindow(int seek, int length) {
    throwIfStopped();
    m_components.logging.debug("Decoding Window Size: {} Seek: {}", length, seek);
    Window window = windowAt(seek, length, m_clip->begin());
    if (m_language.empty())
        m_language = detectLanguage(window).language;
    DecodingResult result = decode(window, m_options);
    SeekResult found = findSegments(result, m_options, seek, length);
    if (m_options.losesNoSpeech && !hasSegments(found) && m_clip->speechIn(seek, found.nextSeek))
        found = listenAgain(window, result, seek, length);
    if (m_clip->hearsEverySound() && hasSegments(found))
        endBeforeUnheardSpeech(found, seek);
    ++m_timings.totalDecodingWindows;
    takeSegments(std::move(found.segments).value_or(std::vector<TranscriptionSegment>()), result, seek, length);
    ++m_windowId;
    return std::max(seek + 1, found.nextSeek);
}

/// The next window begins where speech was passed over.
void TranscribeTask::endBeforeUnheardSpeech(SeekResult& found, int seek) const {
    const auto passedOver = m_clip->passedOver(found, seek);
    if (!passedOver)
        return;
    m_components.logging.info("Speech without text behind {:.2f}s, decoding from there", secondsAt(passedOver->begin));
    found.segments->resize(passedOver->segmentCount);
    found.nextSeek = passedOver->begin;
}

/// Decodes a window once more and takes any result, since the tests are made for windows in which nobody speaks. If
/// there still is no text, a segment without text says so.
SeekResult TranscribeTask::listenAgain(Window& window, DecodingResult& result, int seek, int length) {
    const Logging& logging = m_components.logging;
    logging.info("No text for the speech in the window at {:.2f}s, decoding without tests", secondsAt(seek));
    DecodingOptions untested = m_options;
    untested.temperatureFallbackCount = 0;
    untested.compressionRatioThreshold.reset();
    untested.logProbThreshold.reset();
    untested.noSpeechThreshold.reset();
    result = decode(window, untested);
    SeekResult found = findSegments(result, untested, seek, length);
    const auto speech = hasSegments(found) ? std::nullopt : m_clip->speechIn(seek, found.nextSeek);
    if (!speech)
        return found;
    const float lastEnd = m_segments.empty() ? 0 : m_segments.back().end; // words may reach into this window
    TranscriptionSegment silent;
    silent.id = static_cast<int>(m_segments.size());
    silent.seek = seek;
    silent.end = secondsAt(speech->second);
    silent.start = std::clamp(lastEnd, secondsAt(speech->first), silent.end);
    silent.avgLogprob = result.avgLogProb;
    silent.compressionRatio = result.compressionRatio;
    silent.noSpeechProb = result.noSpeechProb;
    silent.speechWithoutText = true;
    logging.error("No words found for the speech from {:.2f}s to {:.2f}s", silent.start, silent.end);
    found.segments.emplace({std::move(silent)});
    return found;
}

/// Silence stands before `clipBegin`.
TranscribeTask::Window TranscribeTask::windowAt(int seek, int length, int clipBegin) {
    const Stopwatch watch(m_components.clock, m_timings.audioProcessing);
    const int silence = std::max(0, clipBegin - seek);
    Window window;
    window.samples =
        m_components.audioProcessor.padOrTrim(m_audio.first(static_cast<std::size_t>(seek + length)), seek + silence,
                                              m_components.featureExtractor.windowSamples() - silence);
    window.samples.insert(window.samples.begin(), static_cast<std::size_t>(silence), 0.0f);
    ++m_timings.totalAudioProcessingRuns;
    return window;
}

const AudioEmbeddings& TranscribeTask::encode(Window& window) {
    if (window.embeddings)
        return *window.embeddings;
    const MelSpectrogramModel& featureExtractor = m_components.featureExtractor;
    std::vector<float> mel(static_cast<std::size_t>(featureExtractor.melBands()) *
                           static_cast<std::size_t>(featureExtractor.melFrames()));
    {
        const Stopwatch watch(m_components.clock, m_timings.logmels);
        featureExtractor.predict(window.samples, mel);
    }
    ++m_timings.totalLogmelRuns;
    throwIfStopped();
    const StepBatch::Encoding turn(m_components.textDecoder.batch(), m_stop);
    AudioEmbeddings embeddings;
    {
        const Stopwatch watch(m_components.clock, m_timings.encoding);
        m_components.audioEncoder.predictUntil(mel, embeddings, m_stop);
    }
    ++m_timings.totalEncodingRuns;
    throwIfStopped();
    if (embeddings.encoder_output_embeds.empty())
        throw WhisperError(WhisperError::Kind::transcriptionFailed, "Encoder output is nil");
    const Stopwatch watch(m_components.clock, m_timings.prefill);
    m_components.textDecoder.attachUntil(embeddings, m_stop);
    throwIfStopped();
    return window.embeddings.emplace(std::move(embeddings));
}

DecodingResult TranscribeTask::detectLanguage(std::span<const float> audioArray) {
    m_audio = audioArray;
    const int length = std::min(static_cast<int>(m_audio.size()), m_components.featureExtractor.windowSamples());
    m_inputs = std::make_unique<DecodingInputs>(m_components.textDecoder.prepareDecoderInputs({}, false));
    Window window = windowAt(0, length, 0);
    return detectLanguage(window);
}

DecodingResult TranscribeTask::detectLanguage(Window& window) {
    return answer(window, m_options, {}, [&] {
        GreedyTokenSampler sampler(0, m_components.tokenizer.specialTokens().endToken, m_options);
        return m_components.textDecoder.detectLanguage(encode(window), *m_inputs, sampler, m_timings, m_stop);
    });
}

DecodingResult TranscribeTask::decode(Window& window, const DecodingOptions& options) {
    const TextDecoder& decoder = m_components.textDecoder;
    const std::vector<int> prompt = decoder.prefillPrompt(options, m_language, m_previousTokens);
    return answer(window, options, prompt, [&] {
        const AudioEmbeddings& embeddings = encode(window);
        {
            const Stopwatch watch(m_components.clock, m_timings.prefill);
            m_inputs->reset(prompt);
            decoder.prefillDecoderInputs(*m_inputs, options, m_language);
        }
        m_components.logging.debug("Prefill time: {:.3f}", m_timings.prefill);
        m_components.logging.debug("Prefill prompt: [{}]", fmt::join(m_inputs->initialPrompt, ", "));
        return decodeWithFallback(m_components, embeddings, *m_inputs, options,
                                  {.language = m_language,
                                   .windowId = m_windowId,
                                   .callback = m_callback,
                                   .timings = m_timings,
                                   .stop = m_stop});
    });
}

/// Word times need what a decoding leaves behind, and a callback wants to see it.
DecodingResult TranscribeTask::answer(const Window& window, const DecodingOptions& options, std::span<const int> prompt,
                                      const std::function<DecodingResult()>& decode) const {
    if (!m_answer || m_options.wordTimestamps || m_callback)
        return decode();
    return m_answer({window.samples, prompt, options}, decode);
}

SeekResult TranscribeTask::findSegments(const DecodingResult& result, const DecodingOptions& options, int seek,
                                        int length) {
    const Stopwatch watch(m_components.clock, m_timings.decodingWindowing);
    return m_components.segmentSeeker.findSeekPointAndSegments(result, options, static_cast<int>(m_segments.size()),
                                                               seek, length, m_components.tokenizer);
}

void TranscribeTask::takeSegments(std::vector<TranscriptionSegment> segments, const DecodingResult& result, int seek,
                                  int length) {
    m_components.logging.debug("Segments for window:");
    if (m_options.wordTimestamps && !segments.empty())
        addWords(segments, result, seek, length);
    if (seek < m_clip->begin())
        holdToClip(segments);
    for (const TranscriptionSegment& segment : segments)
        m_components.logging.debug("[{:.2f} --> {:.2f}] {}", segment.start, segment.end, segment.text);
    if (m_segmentDiscoveryCallback && !segments.empty())
        m_segmentDiscoveryCallback(segments);

    const bool failed = result.fallback && result.fallback->needsFallback;
    if (!failed && m_options.promptTokens && m_options.usePrefillPrompt) {
        m_previousTokens.clear();
        for (const TranscriptionSegment& segment : segments)
            std::ranges::copy_if(segment.tokens, std::back_inserter(m_previousTokens), [&](int token) {
                return token < m_components.tokenizer.specialTokens().specialTokenBegin;
            });
        m_components.logging.debug("Prefill prompt updated to: [{}]", fmt::join(m_previousTokens, ", "));
    }
    std::ranges::move(segments, std::back_inserter(m_segments));
}

/// Nothing begins in the silence that was put before the clip.
void TranscribeTask::holdToClip(std::vector<TranscriptionSegment>& segments) const {
    const float begin = secondsAt(m_clip->begin());
    for (TranscriptionSegment& segment : segments) {
        segment.seek = std::max(segment.seek, m_clip->begin());
        segment.start = std::max(segment.start, begin);
        segment.end = std::max(segment.end, begin);
        for (WordTiming& word : segment.words ? std::span(*segment.words) : std::span<WordTiming>()) {
            word.start = std::max(word.start, begin);
            word.end = std::max(word.end, begin);
        }
    }
}

void TranscribeTask::addWords(std::vector<TranscriptionSegment>& segments, const DecodingResult& result, int seek,
                              int length) {
    const Stopwatch watch(m_components.clock, m_timings.decodingWordTimestamps);
    // The attention that chose a token is that of the step before it.
    const int frames = static_cast<int>(m_inputs->alignmentWeights.size()) / m_inputs->positions();
    const int firstRow = static_cast<int>(m_inputs->initialPrompt.size()) - 1;
    const int rows = std::min(static_cast<int>(result.tokens.size()) - firstRow - 1, m_inputs->cacheLength - firstRow);
    const AlignmentWeights weights{
        .values = std::span(m_inputs->alignmentWeights)
                      .subspan(static_cast<std::size_t>(firstRow * frames), static_cast<std::size_t>(rows * frames)),
        .tokens = rows,
        .frames = frames};
    try {
        segments = m_components.segmentSeeker.addWordTimestamps(
            segments, weights, {.seek = seek, .segmentSize = length, .lastSpeechTimestamp = m_lastSpeechTimestamp},
            {.tokenizer = m_components.tokenizer,
             .language = m_language,
             .timings = m_timings,
             .logging = m_components.logging});
    } catch (const WhisperError& error) {
        m_components.logging.error("{}", error.what()); // the window has no words; nothing else is lost
        return;
    }
    if (!segments.empty())
        m_lastSpeechTimestamp = segments.back().end;
}

} // namespace fenlo::whisper
