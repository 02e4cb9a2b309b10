#include "WhisperEngine/WhisperEngine.h"

#include "WhisperEngine/AudioProcessor/AudioChunker.h"
#include "WhisperEngine/ModelSetup.h"
#include "WhisperEngine/Models/ModelVariant.h"
#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/ModelFault.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <thread>
#include <utility>

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

Logging loggingFor(const WhisperEngineConfig& config) {
    if (!config.verbose)
        return {};
    return {config.logLevel, config.logSink ? config.logSink : [](const std::string& line) { log("[Fenlo] " + line); }};
}

template <typename Component>
std::shared_ptr<const Component> orStock(const std::shared_ptr<const Component>& given) {
    return given ? given : std::make_shared<const Component>();
}

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

/// Runs `work(index)` for each index on at most `workers` threads, and throws the first failure when all have ended.
void runSideBySide(std::size_t count, std::size_t workers, const std::function<void(std::size_t)>& work) {
    std::vector<std::exception_ptr> failures(count);
    std::atomic<std::size_t> next = 0;
    const auto takeTurns = [&] {
        for (std::size_t index; (index = next++) < count;)
            try {
                work(index);
            } catch (...) {
                failures[index] = std::current_exception();
            }
    };
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 1; i < std::min(workers, count); ++i)
            threads.emplace_back(takeTurns);
        takeTurns();
    }
    for (const auto& failure : failures)
        if (failure)
            std::rethrow_exception(failure);
}

} // namespace

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

WhisperEngine::WhisperEngine(WhisperEngineConfig config, HttpClient& http, Clock& clock)
    : m_config(std::move(config)), m_http(http), m_clock(clock), m_logging(loggingFor(m_config)),
      m_pool(std::make_unique<ThreadPool>(m_config.threads)), m_audioProcessor(orStock(m_config.audioProcessor)),
      m_segmentSeeker(orStock(m_config.segmentSeeker)) {
    settleInstructionSet(m_config.instructionTrial);
}

WhisperEngine::~WhisperEngine() = default;

std::unique_ptr<WhisperEngine> WhisperEngine::create(WhisperEngineConfig config, HttpClient& http, Clock& clock,
                                                     std::stop_token stop) {
    std::unique_ptr<WhisperEngine> engine(new WhisperEngine(std::move(config), http, clock));
    engine->findModel(stop);
    if (engine->m_config.prewarm) {
        engine->m_logging.info("Prewarming models...");
        engine->prewarmModels(stop);
    }
    if (engine->m_config.load) {
        engine->m_logging.info("Loading models...");
        engine->loadModels(false, stop);
    }
    return engine;
}

void WhisperEngine::findModel(std::stop_token stop) {
    if (m_config.modelFolder) {
        m_modelFolder = *m_config.modelFolder;
        return;
    }
    if (!m_config.download)
        return;
    setState(ModelState::downloading);
    m_modelFolder = installModel(m_config, m_http, m_clock, m_logging, stop);
    setState(ModelState::downloaded);
}

void WhisperEngine::prewarmModels(std::stop_token stop) {
    loadModels(true, std::move(stop));
}

void WhisperEngine::loadModels(bool prewarmMode, std::stop_token stop) {
    try {
        load(prewarmMode, std::move(stop));
    } catch (const ModelDamage& damage) {
        throw WhisperError(damage.kind, damage.fault + ". " + repairRemedy(m_config, m_modelFolder));
    }
}

void WhisperEngine::load(bool prewarmMode, std::stop_token stop) {
    setState(prewarmMode ? ModelState::prewarming : ModelState::loading);
    if (m_modelFolder.empty())
        throw WhisperError(WhisperError::Kind::modelsUnavailable, "Model folder is not set.");
    m_logging.info("Loading models from " + m_modelFolder.string() +
                   " with prewarmMode: " + text::boolean(prewarmMode));
    const double begin = m_clock.now();
    const ModelComputeOptions& compute = m_config.computeOptions;
    const ModelPlace place = placeOf(m_modelFolder, modelsFolder(m_config), compute);
    if (!isCompiled(place, compute))
        compileModel(place, compute, m_config.compileProgress, stop);
    if (prewarmMode) {
        m_timings.prewarmLoadTime = m_clock.now() - begin;
        setState(ModelState::prewarmed);
        return;
    }

    m_logging.debug("Loading feature extractor");
    m_featureExtractor = m_config.featureExtractor ? m_config.featureExtractor
                                                   : std::shared_ptr(loadMelSpectrogram(place, compute, *m_pool));
    m_logging.debug("Loaded feature extractor");

    if (m_config.textDecoderContextPrefill) {
        m_logging.debug("Loading text decoder prefill data");
        m_logging.debug("Loaded text decoder prefill data");
    }

    m_logging.debug("Loading text decoder");
    const double decoderBegin = m_clock.now();
    const std::shared_ptr<const TextDecoderModel> decoder =
        m_config.textDecoder ? m_config.textDecoder : std::shared_ptr(loadTextDecoder(place, compute, *m_pool));
    m_timings.decoderLoadTime = m_clock.now() - decoderBegin;
    m_logging.debug("Loaded text decoder in " + text::fixed(m_timings.decoderLoadTime, 2) + "s");

    m_logging.debug("Loading audio encoder");
    const double encoderBegin = m_clock.now();
    m_audioEncoder =
        m_config.audioEncoder ? m_config.audioEncoder : std::shared_ptr(loadAudioEncoder(place, compute, *m_pool));
    m_timings.encoderLoadTime = m_clock.now() - encoderBegin;
    m_logging.debug("Loaded audio encoder in " + text::fixed(m_timings.encoderLoadTime, 2) + "s");

    const ModelVariant variant = detectVariant(decoder->logitsSize().value_or(0), decoder->encoderOutputDim(),
                                               m_modelFolder.filename().string(), m_logging);
    m_modelVariant = textOf(variant);
    m_logging.info("Loaded models for whisper size: " + m_modelVariant);
    loadTokenizer(tokenizerRepository(variant), place, stop);
    m_textDecoder = std::make_shared<const TextDecoder>(decoder, m_config.textDecoderContextPrefill, m_tokenizer,
                                                        m_config.logitsFilters, m_clock, m_logging);
    m_timings.modelLoading = m_clock.now() - begin;
    setState(ModelState::loaded);
}

void WhisperEngine::loadTokenizer(const std::string& repository, const ModelPlace& place, std::stop_token stop) {
    const double begin = m_clock.now();
    const fs::path file = findTokenizer(m_config, place, repository, m_http, m_clock, m_logging, stop);
    try {
        m_tokenizer = std::make_shared<const WhisperTokenizer>(hub::Tokenizer::load(file));
    } catch (const hub::TokenizerError& error) {
        m_logging.error(std::string("Error loading local tokenizer: ") + error.what());
        if (!error.damage.empty())
            throw ModelDamage(error.damage, "", WhisperError::Kind::tokenizerUnavailable);
        throw WhisperError(WhisperError::Kind::tokenizerUnavailable, error.what());
    }
    m_timings.tokenizerLoadTime = m_clock.now() - begin;
    m_logging.debug("Loaded tokenizer in " + text::fixed(m_timings.tokenizerLoadTime, 2) + "s");
}

void WhisperEngine::unloadModels() {
    setState(ModelState::unloading);
    m_textDecoder.reset();
    m_audioEncoder.reset();
    m_featureExtractor.reset();
    m_tokenizer.reset();
    setState(ModelState::unloaded);
    m_logging.info("Unloaded all models");
}

void WhisperEngine::setState(ModelState state) {
    const ModelState before = m_modelState.exchange(state);
    if (m_config.modelStateCallback)
        m_config.modelStateCallback(before, state);
}

bool WhisperEngine::isModelMultilingual() const {
    return m_textDecoder && m_textDecoder->isModelMultilingual();
}

const WhisperTokenizer& WhisperEngine::tokenizer() const {
    return components().tokenizer;
}

TaskComponents WhisperEngine::components() const {
    if (!m_featureExtractor || !m_audioEncoder || !m_textDecoder)
        throw WhisperError(WhisperError::Kind::modelsUnavailable, "Models are unavailable");
    if (!m_tokenizer)
        throw WhisperError(WhisperError::Kind::tokenizerUnavailable, "Tokenizer is unavailable");
    return {*m_featureExtractor, *m_audioEncoder, *m_textDecoder, *m_audioProcessor, *m_segmentSeeker,
            *m_tokenizer,        m_clock,         m_logging,      m_config.voiceActivityDetector.get()};
}

std::vector<TranscriptionResult> WhisperEngine::transcribe(const fs::path& audioPath,
                                                           const DecodingOptions& decodeOptions,
                                                           const TranscriptionCallbacks& callbacks,
                                                           std::stop_token stop, const StoppedParts& resume) const {
    const auto tell = [&](TranscriptionState state) {
        m_logging.debug(textOf(state));
        if (callbacks.state)
            callbacks.state(state);
    };
    components(); // whether there are models is known before the file is read
    tell(TranscriptionState::convertingAudio);
    const double begin = m_clock.now();
    const LoadedAudio audio = m_audioProcessor->loadAudio(audioPath, m_config.audioInputConfig, m_logging, stop);
    const double audioLoading = m_clock.now() - begin;
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
    const TaskComponents parts = components();
    const int windowSamples = parts.featureExtractor.windowSamples();
    if (decodeOptions.chunkingStrategy != ChunkingStrategy::vad ||
        audioArray.size() <= static_cast<std::size_t>(windowSamples))
        return transcribe({audioArray}, {}, {decodeOptions}, callbacks, stop, resume);

    const VADAudioChunker chunker(m_config.voiceActivityDetector);
    const auto chunks = chunker.chunkAll(audioArray, windowSamples, decodeOptions, m_logging);
    m_logging.debug("Found " + std::to_string(chunks.size()) + " VAD chunks");
    std::vector<std::span<const float>> arrays;
    std::vector<int> offsets;
    for (const AudioChunk& chunk : chunks) {
        arrays.push_back(chunk.audioSamples);
        offsets.push_back(chunk.seekOffsetIndex);
    }
    DecodingOptions ofChunks = decodeOptions;
    ofChunks.clipTimestamps.clear(); // the chunks lie within the clips
    return transcribe(arrays, offsets, std::vector(arrays.size(), ofChunks), callbacks, stop, resume);
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
    const TaskComponents parts = components();
    const std::size_t count = audioArrays.size();
    const auto offsetOf = [&](std::size_t i) { return seekOffsetIndexes.empty() ? 0 : seekOffsetIndexes[i]; };

    std::vector<TranscriptionResult> results(count);
    std::vector<std::atomic<double>> fractions(count);
    const auto onFraction = [&](std::size_t i, double fraction) {
        fractions[i] = fraction;
        if (!callbacks.fraction)
            return;
        double done = 0, whole = 0;
        for (std::size_t k = 0; k < count; ++k) {
            done += fractions[k] * static_cast<double>(audioArrays[k].size());
            whole += static_cast<double>(audioArrays[k].size());
        }
        callbacks.fraction(whole > 0 ? done / whole : 1);
    };
    std::size_t workers = 1;
    for (const DecodingOptions& options : decodeOptions)
        workers = std::max(workers, static_cast<std::size_t>(std::max(1, options.concurrentWorkerCount)));
    // More tasks than cores would only take turns, each with a window's memory.
    workers = std::min(workers, static_cast<std::size_t>(m_pool->size()));

    runSideBySide(count, workers, [&](std::size_t i) {
        SegmentDiscoveryCallback discovery;
        if (callbacks.segmentDiscovery)
            discovery = [&, i](const std::vector<TranscriptionSegment>& segments) {
                TranscriptionResult found;
                found.segments = segments;
                shift(found, offsetOf(i));
                callbacks.segmentDiscovery(found.segments);
            };
        TranscribeTask task(parts, std::move(discovery), [&, i](double fraction) { onFraction(i, fraction); });
        if (callbacks.checkpoint)
            task.keepCheckpoints(std::bind_front(callbacks.checkpoint, i));
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

DecodingResult WhisperEngine::detectLanguage(const fs::path& audioPath, std::stop_token stop) const {
    const TaskComponents parts = components();
    if (!isModelMultilingual())
        throw WhisperError(WhisperError::Kind::decodingFailed, "Language detection not supported for this model");
    const std::vector<float> audio =
        m_audioProcessor->loadAudioAsFloatArray(audioPath, m_config.audioInputConfig, m_logging, stop);
    return TranscribeTask(parts, {}, {}).detectLanguage(audio);
}

} // namespace fenlo::whisper
