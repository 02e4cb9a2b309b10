// What an engine is made of: its models are found, compiled, loaded and let go.

#include "WhisperEngine/WhisperEngine.h"

#include "WhisperEngine/ModelSetup.h"
#include "WhisperEngine/Models/ModelVariant.h"
#include "WhisperEngine/SegmentSeeker/SegmentSeeker.h"
#include "WhisperEngine/SideBySide.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/ModelFault.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Clock.h"
#include "base/Log.h"

#include <utility>

namespace fenlo::whisper {

namespace fs = std::filesystem;

namespace {

Logging loggingFor(const WhisperEngineConfig& config) {
    if (!config.verbose)
        return {};
    return {config.logLevel, config.logSink ? config.logSink : [](const std::string& line) { logInfo("{}", line); }};
}

template <typename Component>
std::shared_ptr<const Component> orStock(const std::shared_ptr<const Component>& given) {
    return given ? given : std::make_shared<const Component>();
}

} // namespace

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
    m_logging.info("Loading models from {} with prewarmMode: {}", m_modelFolder.string(), prewarmMode);
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
    m_logging.debug("Loaded text decoder in {:.2f}s", m_timings.decoderLoadTime);

    m_logging.debug("Loading audio encoder");
    const double encoderBegin = m_clock.now();
    m_audioEncoder =
        m_config.audioEncoder ? m_config.audioEncoder : std::shared_ptr(loadAudioEncoder(place, compute, *m_pool));
    m_timings.encoderLoadTime = m_clock.now() - encoderBegin;
    m_logging.debug("Loaded audio encoder in {:.2f}s", m_timings.encoderLoadTime);

    const ModelVariant variant = detectVariant(decoder->logitsSize().value_or(0), decoder->encoderOutputDim(),
                                               m_modelFolder.filename().string(), m_logging);
    m_modelVariant = textOf(variant);
    m_logging.info("Loaded models for whisper size: {}", m_modelVariant);
    loadTokenizer(tokenizerRepository(variant), place, stop);
    m_textDecoder = std::make_shared<const TextDecoder>(decoder, m_config.textDecoderContextPrefill, m_tokenizer,
                                                        m_config.logitsFilters, m_clock, m_logging);
    m_places = std::make_unique<Places>(m_textDecoder->windowsAtOnce());
    m_timings.modelLoading = m_clock.now() - begin;
    setState(ModelState::loaded);
}

void WhisperEngine::loadTokenizer(const std::string& repository, const ModelPlace& place, std::stop_token stop) {
    const double begin = m_clock.now();
    const fs::path file = findTokenizer(m_config, place, repository, m_http, m_clock, m_logging, stop);
    try {
        m_tokenizer = std::make_shared<const WhisperTokenizer>(hub::Tokenizer::load(file));
    } catch (const hub::TokenizerError& error) {
        m_logging.error("Error loading local tokenizer: {}", error.what());
        if (!error.damage.empty())
            throw ModelDamage(error.damage, "", WhisperError::Kind::tokenizerUnavailable);
        throw WhisperError(WhisperError::Kind::tokenizerUnavailable, error.what());
    }
    m_timings.tokenizerLoadTime = m_clock.now() - begin;
    m_logging.debug("Loaded tokenizer in {:.2f}s", m_timings.tokenizerLoadTime);
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
    return {*m_featureExtractor,
            *m_audioEncoder,
            *m_textDecoder,
            *m_audioProcessor,
            *m_segmentSeeker,
            *m_tokenizer,
            m_clock,
            m_logging,
            m_config.voiceActivityDetector.get()};
}

} // namespace fenlo::whisper
