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
#include <cmath>
#include <utility>

namespace fenlo::whisper {

namespace {

// Samples, of the rules with `losesNoSpeech`.
constexpr int mostUnheard = sampleRate;          // of sound that may lie between two segments
constexpr int longestToken = sampleRate / 2;     // of sound in a segment, for each of its tokens
constexpr int shortestWayToUnheard = sampleRate; // from a window's start, so that each window gets on
constexpr int atOnce = 3 * sampleRate / 10;      // a clip whose first sound is so early gets
constexpr int leadIn = sampleRate / 10;          // so much silence before it

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

float secondsAt(int sample) {
    return static_cast<float>(static_cast<double>(sample) / sampleRate);
}

int sampleAt(float seconds) {
    return static_cast<int>(std::lround(static_cast<double>(seconds) * sampleRate));
}

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
    const TextDecoder& decoder = m_components.textDecoder;
    m_audio = audioArray;
    m_options = options;
    m_callback = callback;
    m_stop = std::move(stop);
    if (options.losesNoSpeech)
        m_heard.emplace(audioArray, m_components.voiceActivityDetector);
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
        logTimings(m_timings, logging);
    return {.text = textOf(m_segments),
            .segments = std::move(m_segments),
            .language = m_language.empty() ? defaultLanguageCode : m_language,
            .timings = m_timings,
            .seekTime = std::nullopt};
}

void TranscribeTask::transcribeClip(std::size_t clip, int begin, int end, int seek) {
    m_clip = {begin, end};
    while (isLeft(seek) && (!m_options.maxWindowSeek || seek < *m_options.maxWindowSeek)) {
        const std::size_t segmentsBefore = m_segments.size();
        const int start = seek == begin && needsLeadIn() ? seek - leadIn : seek;
        seek = transcribeWindow(start, std::min(m_components.featureExtractor.windowSamples(), end - start));
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

/// What is left after a window is mostly padding when it is shorter than the clip time, and would only invite invented
/// words where nobody speaks; a clip that is short from the start is decoded all the same.
bool TranscribeTask::isLeft(int seek) const {
    const auto [begin, end] = m_clip;
    if (seek >= end)
        return false;
    return seek == begin || !isShortRest(seek) || (m_options.losesNoSpeech && m_heard->speechIn(seek, end));
}

bool TranscribeTask::isShortRest(int seek) const {
    return m_clip.second - seek <= static_cast<int>(m_options.windowClipTime * sampleRate);
}

/// Models lose a first word that begins at once.
bool TranscribeTask::needsLeadIn() const {
    return hearsEverySound() && m_heard->speechIn(m_clip.first, std::min(m_clip.first + atOnce, m_clip.second));
}

/// Whether sound decides beside the model. Without a threshold for silence nobody asks whether somebody speaks.
bool TranscribeTask::hearsEverySound() const {
    return m_options.losesNoSpeech && m_options.noSpeechThreshold;
}

/// The window may begin before the clip, with silence.
std::optional<HeardSpeech::Stretch> TranscribeTask::speechFrom(int windowStart, int end) const {
    return m_heard->speechIn(std::max(windowStart, m_clip.first), end);
}

int TranscribeTask::transcribeWindow(int seek, int length) {
    if (m_stop.stop_requested())
        throw WhisperError(WhisperError::Kind::cancelled, "cancelled");
    m_components.logging.debug("Decoding Window Size: " + std::to_string(length) + " Seek: " + std::to_string(seek));
    const AudioEmbeddings embeddings = encode(seek, length);
    if (m_language.empty())
        m_language = detectLanguage(embeddings).language;
    DecodingResult result = decodeWithFallback(embeddings, m_options);
    SeekResult found = findSegments(result, m_options, seek, length);
    if (m_options.losesNoSpeech && !hasSegments(found) && speechFrom(seek, found.nextSeek))
        found = listenAgain(embeddings, result, seek, length);
    if (hearsEverySound() && hasSegments(found))
        endBeforeUnheardSpeech(found, seek);
    ++m_timings.totalDecodingWindows;
    takeSegments(std::move(found.segments).value_or(std::vector<TranscriptionSegment>()), result, seek, length);
    ++m_windowId;
    return std::max(seek + 1, found.nextSeek);
}

/// Behind a segment, speech that no other segment holds was passed over: the next window begins there. So it does where
/// a short rest of the clip would begin within a word, and at the start of a segment with far too few words for its
/// sound.
void TranscribeTask::endBeforeUnheardSpeech(SeekResult& found, int seek) const {
    std::vector<TranscriptionSegment>& segments = *found.segments;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const int start = sampleAt(segments[i].start);
        const bool isStretched = start - seek >= shortestWayToUnheard && !segments[i].speechWithoutText &&
                                 m_heard->soundIn(start, sampleAt(segments[i].end)) >
                                     longestToken * static_cast<int>(segments[i].tokens.size());
        const int begin = isStretched ? start : sampleAt(segments[i].end);
        const bool isLast = i + 1 == segments.size();
        const int end = isLast ? found.nextSeek : sampleAt(segments[i + 1].start);
        if (begin - seek < shortestWayToUnheard || begin >= end)
            continue;
        const bool beforeRest =
            isLast && end < m_clip.second && isShortRest(end) && m_heard->speechIn(end, m_clip.second);
        if (!isStretched && !beforeRest && m_heard->soundIn(begin, end) < mostUnheard)
            continue;
        m_components.logging.info("Speech without text behind " + text::fixed(secondsAt(begin), 2) +
                                  "s, decoding from there");
        segments.resize(i + 1);
        found.nextSeek = begin;
        return;
    }
}

/// Decodes a window once more, and takes what comes: the tests are made for windows in which nobody speaks. A window
/// that stays without a text is told by a segment without one.
SeekResult TranscribeTask::listenAgain(const AudioEmbeddings& embeddings, DecodingResult& result, int seek,
                                       int length) {
    const Logging& logging = m_components.logging;
    logging.info("No text for the speech in the window at " + text::fixed(secondsAt(seek), 2) +
                 "s, decoding without tests");
    DecodingOptions untested = m_options;
    untested.temperatureFallbackCount = 0;
    untested.compressionRatioThreshold.reset();
    untested.logProbThreshold.reset();
    untested.noSpeechThreshold.reset();
    result = decodeWithFallback(embeddings, untested);
    SeekResult found = findSegments(result, untested, seek, length);
    const auto speech = hasSegments(found) ? std::nullopt : speechFrom(seek, found.nextSeek);
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
    logging.error("No words found for the speech from " + text::fixed(silent.start, 2) + "s to " +
                  text::fixed(silent.end, 2) + "s");
    found.segments.emplace({std::move(silent)});
    return found;
}

AudioEmbeddings TranscribeTask::encode(int seek, int length) {
    const MelSpectrogramModel& featureExtractor = m_components.featureExtractor;
    std::vector<float> window;
    {
        const Stopwatch watch(m_components.clock, m_timings.audioProcessing);
        const int silence = std::max(0, m_clip.first - seek); // before the clip
        window = m_components.audioProcessor.padOrTrim(m_audio.first(static_cast<std::size_t>(seek + length)),
                                                       seek + silence, featureExtractor.windowSamples() - silence);
        window.insert(window.begin(), static_cast<std::size_t>(silence), 0.0f);
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

DecodingResult TranscribeTask::decodeWithFallback(const AudioEmbeddings& embeddings, const DecodingOptions& wanted) {
    const Logging& logging = m_components.logging;
    const TextDecoder& decoder = m_components.textDecoder;
    {
        const Stopwatch watch(m_components.clock, m_timings.prefill);
        m_inputs->reset(decoder.prefillPrompt(wanted, m_language, m_previousTokens));
        decoder.prefillDecoderInputs(*m_inputs, wanted, m_language);
    }
    logging.debug("Prefill time: " + text::fixed(m_timings.prefill, 3));
    logging.debug("Prefill prompt: " + listOf(m_inputs->initialPrompt));

    std::vector<float> temperatures;
    for (int i = 0; i <= std::max(0, wanted.temperatureFallbackCount); ++i)
        temperatures.push_back(
            throughHalf(wanted.temperature + static_cast<float>(i) * wanted.temperatureIncrementOnFallback));
    logging.debug("Decoding with temperatures " +
                  joined(temperatures, [](float temperature) { return text::fixed(temperature, 4); }));

    DecodingResult result;
    for (std::size_t pass = 0; pass < temperatures.size(); ++pass) {
        const double begin = m_components.clock.now();
        logging.debug("Decoding Temperature: " + text::fixed(temperatures[pass], 4));
        DecodingOptions options = wanted;
        // The first token's odds are the same in every pass, and the first pass takes the best: a window that fails the
        // test once would fail it always.
        if (wanted.losesNoSpeech)
            options.firstTokenLogProbThreshold.reset();
        options.seed += static_cast<unsigned>(pass);
        GreedyTokenSampler sampler(temperatures[pass], m_components.tokenizer.specialTokens().endToken, options);
        result = decoder.decodeText(embeddings, *m_inputs, sampler, options, m_language, m_windowId, m_callback,
                                    m_timings, m_stop);
        result.temperature = temperatures[pass];
        result.fallback = verdict(result, wanted);
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
std::optional<DecodingFallback> TranscribeTask::verdict(const DecodingResult& result, const DecodingOptions& options) {
    if (result.fallback && result.fallback->needsFallback)
        return result.fallback; // the first token failed, and the loop has said so
    if (options.noSpeechThreshold && *options.noSpeechThreshold < result.noSpeechProb)
        return DecodingFallback{.needsFallback = false, .fallbackReason = "silence"};
    if (options.compressionRatioThreshold && *options.compressionRatioThreshold < result.compressionRatio)
        return DecodingFallback{.needsFallback = true, .fallbackReason = "compressionRatioThreshold"};
    if (options.logProbThreshold && *options.logProbThreshold > result.avgLogProb)
        return DecodingFallback{.needsFallback = true, .fallbackReason = "logProbThreshold"};
    return std::nullopt;
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
    if (seek < m_clip.first)
        holdToClip(segments);
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
}

/// Nothing begins in the silence that was put before the clip.
void TranscribeTask::holdToClip(std::vector<TranscriptionSegment>& segments) const {
    const float begin = secondsAt(m_clip.first);
    for (TranscriptionSegment& segment : segments) {
        segment.seek = std::max(segment.seek, m_clip.first);
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

} // namespace fenlo::whisper
