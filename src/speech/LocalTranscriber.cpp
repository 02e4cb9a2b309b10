#include "speech/LocalTranscriber.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"

#include <system_error>
#include <utility>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

constexpr float lowestAvgLogprob = -1.5f; // of a segment that is kept

/// The limits for repetition and doubt are looser than the engine's own, so that fewer windows are decoded again and
/// the user waits less. keptText() drops the doubtful segments instead.
whisper::DecodingOptions optionsFor(const std::string& language) {
    whisper::DecodingOptions options;
    options.task = whisper::DecodingTask::transcribe;
    if (language != "auto")
        options.language = language;
    options.temperature = 0.0f;
    options.temperatureIncrementOnFallback = 0.2f;
    options.temperatureFallbackCount = 5;
    options.topK = 5;
    options.compressionRatioThreshold = 3.5f;
    options.logProbThreshold = -1.2f;
    options.firstTokenLogProbThreshold = -1.5f;
    options.noSpeechThreshold = 0.6f;
    options.losesNoSpeech = true;
    options.endsAtLastSound = true;
    options.skipSpecialTokens = true; // the guards compare whole phrases, without markers
    return options;
}

std::string keptText(const std::vector<whisper::TranscriptionResult>& results) {
    std::vector<std::string> texts;
    for (const auto& result : results)
        for (const auto& segment : result.segments)
            if (segment.speechWithoutText)
                logInfo("LocalTranscriber: No words found for the speech from {:.2f} to {:.2f}s", segment.start,
                        segment.end);
            else if (segment.avgLogprob < lowestAvgLogprob)
                logInfo("LocalTranscriber: Dropped segment (avgLogprob={:.2f}): '{}'", segment.avgLogprob,
                        text::firstCharacters(segment.text, 40));
            else
                texts.push_back(text::trimWhitespaceAndNewlines(segment.text));
    return text::trimWhitespaceAndNewlines(text::join(texts, " "));
}

} // namespace

LocalTranscriber::LocalTranscriber(std::string model, fs::path modelFolder, EngineMaker makeEngine, Clock& clock)
    : m_model(std::move(model)), m_modelFolder(std::move(modelFolder)), m_makeEngine(std::move(makeEngine)),
      m_clock(clock) {}

void LocalTranscriber::setup(const Progress& progress, std::stop_token stop, const Steps& steps) {
    const bool begins = m_state.with([](State& state) {
        if (state.isSettingUp || state.whisperEngine)
            return false;
        return state.isSettingUp = true;
    });
    if (!begins)
        return;
    const auto tell = [&](const char* status, double fraction) {
        if (progress)
            progress(status, fraction);
    };
    logInfo("LocalTranscriber: Setting up...");
    tell("Preparing...", 0.0);
    const Steps remember = [&](const SetupStep& step) {
        m_state.with([&](State& state) { state.step = step; });
        if (steps)
            steps(step);
    };
    std::shared_ptr<const Engine> engine;
    std::string fault;
    try {
        fs::create_directories(m_modelFolder);
        engine = std::make_shared<const Engine>(m_makeEngine(m_model, m_modelFolder, remember, stop));
    } catch (const std::exception& error) {
        fault = error.what();
    }
    m_state.with([&](State& state) {
        state.whisperEngine = engine;
        state.isSettingUp = false;
        state.step.reset();
        state.fault = fault;
    });
    if (engine) {
        tell("Ready", 1.0);
        logInfo("LocalTranscriber: Ready ({})", m_model);
    } else {
        tell("Setup failed", 0.0);
        logError("LocalTranscriber setup failed: {}", fault);
    }
}

bool LocalTranscriber::isReady() const {
    return m_state.with([](const State& state) { return state.whisperEngine != nullptr; });
}

std::string LocalTranscriber::setupFault() const {
    return m_state.with([](const State& state) { return state.fault; });
}

bool LocalTranscriber::isSettingUp() const {
    return m_state.with([](const State& state) { return state.isSettingUp; });
}

std::optional<SetupStep> LocalTranscriber::setupStep() const {
    return m_state.with([](const State& state) { return state.step; });
}

std::string LocalTranscriber::transcribe(const fs::path& audio, const std::string& language,
                                         std::stop_token stop) const {
    const auto whisperEngine = engine();
    const double begin = m_clock.now();
    const std::size_t takenBefore = m_early.taken();
    const Clip clip{.sound = audio, .answer = m_early.finished(stop)};
    const std::string text = keptText((*whisperEngine)(clip, optionsFor(language), stop));
    if (const std::size_t taken = m_early.taken() - takenBefore)
        logInfo("LocalTranscriber: {} windows were recognised before the end", taken);
    logInfo("LocalTranscriber: {:.2f}s — '{}'", m_clock.now() - begin, text::firstCharacters(text, 60));
    return text;
}

std::shared_ptr<const LocalTranscriber::Engine> LocalTranscriber::engine() const {
    auto engine = m_state.with([](const State& state) { return state.whisperEngine; });
    if (!engine)
        throw LocalTranscriberError(LocalTranscriberError::Kind::notReady, "the on-device engine is not ready");
    return engine;
}

LocalTranscriber::Heard LocalTranscriber::recogniseAhead(std::span<const float> samples, Extent extent,
                                                         const std::string& language,
                                                         const std::stop_source& stop) const {
    whisper::DecodingOptions options = optionsFor(language);
    if (extent == Extent::fullWindows) {
        if (samples.size() < windowLength)
            return {};
        options.maxWindowSeek = static_cast<int>(samples.size() - windowLength) + 1; // where no window begins any more
        options.endsAtLastSound = false;
    }
    Heard heard;
    const Clip clip{.sound = samples, .answer = m_early.ahead(stop), .checkpoint = [&](const auto& checkpoint, auto&&) {
                        heard.nextWindow = static_cast<std::size_t>(checkpoint.seek);
                    }};
    heard.text = keptText((*engine())(clip, options, stop.get_token()));
    return heard;
}

std::string LocalTranscriber::recogniseAhead(const fs::path& audio, const std::string& language,
                                             const std::stop_source& stop) const {
    return keptText(
        (*engine())({.sound = audio, .answer = m_early.ahead(stop)}, optionsFor(language), stop.get_token()));
}

bool LocalTranscriber::isModelDownloaded() const {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(m_modelFolder, error))
        if (entry.path().filename().string().find(m_model) != std::string::npos)
            return true;
    return false;
}

} // namespace fenlo
