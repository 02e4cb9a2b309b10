#include "WhisperEngine/WhisperEngine.h"

#include "WhisperEngine/AudioProcessor/AudioChunker.h"
#include "WhisperEngine/AudioProcessor/RecordingParts.h"
#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/SideBySide.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Clock.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

void shift(TranscriptionResult& result, int seekOffset) {
    const float seconds = static_cast<float>(seekOffset) / static_cast<float>(sampleRate);
    for (TranscriptionSegment& segment : result.segments) {
        segment.seek += seekOffset;
        segment.start += seconds;
        segment.end += seconds;
        if (segment.words)
            for (WordTiming& word : *segment.words) {
                word.start += seconds;
                word.end += seconds;
            }
    }
    result.seekTime = seconds;
}

/// How much of several arrays is done, each being done by its own fraction.
class CommonFraction {
public:
    CommonFraction(const std::vector<std::span<const float>>& arrays, const std::function<void(double)>& callback)
        : m_arrays(arrays), m_callback(callback), m_fractions(arrays.size()) {}

    void tell(std::size_t array, double fraction) {
        m_fractions[array] = fraction;
        if (!m_callback)
            return;
        double done = 0, whole = 0;
        for (std::size_t i = 0; i < m_arrays.size(); ++i) {
            done += m_fractions[i] * static_cast<double>(m_arrays[i].size());
            whole += static_cast<double>(m_arrays[i].size());
        }
        m_callback(whole > 0 ? done / whole : 1);
    }

private:
    const std::vector<std::span<const float>>& m_arrays;
    const std::function<void(double)>& m_callback;
    std::vector<std::atomic<double>> m_fractions;
};

int mostWorkers(const std::vector<DecodingOptions>& options) {
    int workers = 1;
    for (const DecodingOptions& each : options)
        workers = std::max(workers, each.concurrentWorkerCount);
    return workers;
}

} // namespace

/// What is worked on side by side.
struct WhisperEngine::Arrays {
    std::vector<std::span<const float>> samples;
    std::vector<int> offsets; // where each begins in a whole, or empty
    std::vector<DecodingOptions> options;

    /// Chunks that lie within the clips of the options.
    static Arrays ofChunks(const std::vector<AudioChunk>& chunks, DecodingOptions forAll) {
        Arrays arrays;
        forAll.clipTimestamps.clear();
        arrays.options.assign(chunks.size(), forAll);
        for (const AudioChunk& chunk : chunks) {
            arrays.samples.push_back(chunk.audioSamples);
            arrays.offsets.push_back(chunk.seekOffsetIndex);
        }
        return arrays;
    }
};

const char* textOf(TranscriptionState state) {
    switch (state) {
    case TranscriptionState::convertingAudio:
        return "Converting Audio";
    case TranscriptionState::transcribing:
        return "Transcribing";
    case TranscriptionState::finished:
        return "Finished";
    }
    return "";
}

std::vector<TranscriptionResult> WhisperEngine::transcribe(const fs::path& audioPath,
                                                           const DecodingOptions& decodeOptions,
                                                           const TranscriptionCallbacks& callbacks,
                                                           std::stop_token stop, const StoppedParts& resume) const {
    const auto tell = [&](TranscriptionState state) {
        m_logging.debug("{}", textOf(state));
        if (callbacks.state)
            callbacks.state(state);
    };
    components(); // whether there are models is known before the file is read
    tell(TranscriptionState::convertingAudio);
    const double begin = m_clock.now();
    const LoadedAudio audio = m_audioProcessor->loadAudio(audioPath, m_config.audioInputConfig, m_logging, stop);
    const double audioLoading = m_clock.now() - begin;
    if (callbacks.loaded)
        callbacks.loaded(static_cast<double>(audio.samples.size()) / sampleRate);
    if (callbacks.damage)
        std::ranges::for_each(audio.damages, callbacks.damage);
    tell(TranscriptionState::transcribing);
    auto results = transcribe(audio.samples, decodeOptions, callbacks, stop, resume);
    if (!results.empty())
        results.front().timings.audioLoading = audioLoading;
    tell(TranscriptionState::finished);
    return results;
}

std::vector<TranscriptionResult> WhisperEngine::transcribe(std::span<const float> audioArray,
                                                           const DecodingOptions& decodeOptions,
                                                           const TranscriptionCallbacks& callbacks,
                                                           std::stop_token stop, const StoppedParts& resume) const {
    switch (decodeOptions.chunkingStrategy.value_or(ChunkingStrategy::none)) {
    case ChunkingStrategy::vad:
        return transcribeChunks(audioArray, decodeOptions, callbacks, std::move(stop), resume);
    case ChunkingStrategy::parts:
        return transcribeParts(audioArray, decodeOptions, callbacks, std::move(stop), resume);
    case ChunkingStrategy::none:
        break;
    }
    return transcribe({audioArray}, {}, {decodeOptions}, callbacks, std::move(stop), resume);
}

std::vector<TranscriptionResult> WhisperEngine::transcribeChunks(std::span<const float> audioArray,
                                                                 const DecodingOptions& options,
                                                                 const TranscriptionCallbacks& callbacks,
                                                                 std::stop_token stop,
                                                                 const StoppedParts& resume) const {
    const TaskComponents parts = components();
    const int windowSamples = parts.featureExtractor.windowSamples();
    if (audioArray.size() <= static_cast<std::size_t>(windowSamples))
        return transcribe({audioArray}, {}, {options}, callbacks, std::move(stop), resume);
    const VADAudioChunker chunker(m_config.voiceActivityDetector);
    const auto chunks = chunker.chunkAll(audioArray, windowSamples, options, m_logging);
    m_logging.debug("Found {} VAD chunks", chunks.size());
    return transcribeAll(parts, Arrays::ofChunks(chunks, options), callbacks, std::move(stop), resume);
}

/// As if walked over in one piece: one sense of silence for all of the recording, and one language.
std::vector<TranscriptionResult> WhisperEngine::transcribeParts(std::span<const float> audioArray,
                                                                const DecodingOptions& options,
                                                                const TranscriptionCallbacks& callbacks,
                                                                std::stop_token stop,
                                                                const StoppedParts& resume) const {
    const auto inOnePiece = [&] { return transcribe({audioArray}, {}, {options}, callbacks, stop, resume); };
    const auto clips = prepareSeekClips(options, static_cast<int>(audioArray.size()));
    const bool isLong = std::ranges::any_of(
        clips, [](const auto& clip) { return RecordingParts::areWanted(clip.second - clip.first); });
    if (!isLong || options.maxWindowSeek || options.endsAtLastSound)
        return inOnePiece();
    TaskComponents shared = components();
    std::optional<EnergyVAD> energy;
    if (!shared.voiceActivityDetector)
        shared.voiceActivityDetector = &energy.emplace(energyVadFor(audioArray));
    const RecordingParts cutter(audioArray, *shared.voiceActivityDetector);
    std::vector<AudioChunk> parts;
    for (const auto& [begin, end] : clips)
        if (begin < end)
            std::ranges::copy(cutter.between(begin, end), std::back_inserter(parts));
    if (parts.size() <= clips.size())
        return inOnePiece();
    m_logging.debug("Found {} parts", parts.size());
    DecodingOptions ofParts = options;
    if (isModelMultilingual() && !options.language && options.detectLanguage != false) {
        const Places::Taken place(*m_places, stop);
        ofParts.language = TranscribeTask(shared, {}, {}).detectLanguage(parts.front().audioSamples).language;
    }
    return transcribeAll(shared, Arrays::ofChunks(parts, ofParts), callbacks, std::move(stop), resume);
}

std::vector<std::vector<TranscriptionResult>> WhisperEngine::transcribe(const std::vector<fs::path>& audioPaths,
                                                                        const DecodingOptions& decodeOptions,
                                                                        std::stop_token stop) const {
    std::vector<std::vector<TranscriptionResult>> results(audioPaths.size());
    runSideBySide(audioPaths.size(), static_cast<std::size_t>(std::max(1, decodeOptions.concurrentWorkerCount)),
                  [&](std::size_t i) { results[i] = transcribe(audioPaths[i], decodeOptions, {}, stop); });
    return results;
}

std::vector<TranscriptionResult> WhisperEngine::transcribe(const std::vector<std::span<const float>>& audioArrays,
                                                           const std::vector<int>& seekOffsetIndexes,
                                                           const std::vector<DecodingOptions>& decodeOptions,
                                                           const TranscriptionCallbacks& callbacks,
                                                           std::stop_token stop, const StoppedParts& resume) const {
    if (!seekOffsetIndexes.empty() && seekOffsetIndexes.size() != audioArrays.size())
        throw WhisperError(WhisperError::Kind::transcriptionFailed,
                           "The number of audio arrays and seek offset indexes must be balanced.");
    if (decodeOptions.size() != audioArrays.size())
        throw WhisperError(WhisperError::Kind::transcriptionFailed,
                           "The number of audio arrays and decoding options must be balanced.");
    return transcribeAll(components(), {audioArrays, seekOffsetIndexes, decodeOptions}, callbacks, std::move(stop),
                         resume);
}

std::vector<TranscriptionResult> WhisperEngine::transcribeAll(const TaskComponents& parts, const Arrays& arrays,
                                                              const TranscriptionCallbacks& callbacks,
                                                              std::stop_token stop, const StoppedParts& resume) const {
    const auto& audioArrays = arrays.samples;
    const auto& seekOffsetIndexes = arrays.offsets;
    const auto& decodeOptions = arrays.options;
    const std::size_t count = audioArrays.size();
    const auto offsetOf = [&](std::size_t i) { return seekOffsetIndexes.empty() ? 0 : seekOffsetIndexes[i]; };

    std::vector<TranscriptionResult> results(count);
    CommonFraction fraction(audioArrays, callbacks.fraction);
    const int workers = std::min(mostWorkers(decodeOptions), windowsAtOnce());
    runSideBySide(count, static_cast<std::size_t>(workers), [&](std::size_t i) {
        const Places::Taken place(*m_places, stop);
        SegmentDiscoveryCallback discovery;
        if (callbacks.segmentDiscovery)
            discovery = [&, i](const std::vector<TranscriptionSegment>& segments) {
                TranscriptionResult found;
                found.segments = segments;
                shift(found, offsetOf(i));
                callbacks.segmentDiscovery(found.segments);
            };
        TranscribeTask task(parts, std::move(discovery), [&, i](double ofPart) { fraction.tell(i, ofPart); });
        if (callbacks.checkpoint)
            task.keepCheckpoints(std::bind_front(callbacks.checkpoint, i));
        task.askFirst(callbacks.answer);
        if (const auto stopped = resume.find(i); stopped != resume.end())
            task.resume(stopped->second);
        results[i] = task.run(audioArrays[i], decodeOptions[i], callbacks.progress, stop);
        if (callbacks.finished)
            callbacks.finished(i);
        results[i].timings.modelLoading = m_timings.modelLoading;
        if (!seekOffsetIndexes.empty())
            shift(results[i], offsetOf(i));
    });
    int id = 0;
    for (TranscriptionResult& result : results)
        for (TranscriptionSegment& segment : result.segments)
            segment.id = id++;
    return results;
}

int WhisperEngine::windowsAtOnce() const {
    return components().textDecoder.windowsAtOnce();
}

DecodingResult WhisperEngine::detectLanguage(const fs::path& audioPath, std::stop_token stop) const {
    const TaskComponents parts = components();
    if (!isModelMultilingual())
        throw WhisperError(WhisperError::Kind::decodingFailed, "Language detection not supported for this model");
    const std::vector<float> audio =
        m_audioProcessor->loadAudioAsFloatArray(audioPath, m_config.audioInputConfig, m_logging, stop);
    return TranscribeTask(parts, {}, {}).detectLanguage(audio);
}

} // namespace fenlo::whisper
