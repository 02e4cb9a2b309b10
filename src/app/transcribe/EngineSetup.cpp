#include "app/transcribe/EngineSetup.h"

#include "Version.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "app/CommandServices.h"
#include "app/ExitStatus.h"
#include "app/LocalEngine.h"
#include "app/transcribe/TranscribeOptions.h"
#include "base/Json.h"
#include "base/Text.h"
#include "settings/Config.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <system_error>

namespace fenlo {

using namespace whisper;

namespace {

constexpr float hottest = 1.0f;                // a temperature above this draws hardly more than noise
constexpr std::size_t maxVocabularyTerms = 30; // as the recognisers of other services take

/// The vocabulary of the settings and the user's prompt, as one text.
std::string promptText(const TranscribeOptions& options) {
    std::vector<std::string> pieces;
    if (options.customVocabulary) {
        const SystemClock clock;
        std::vector<std::string> terms = Config(Config::defaultFile(), clock).get().customVocabulary;
        terms.resize(std::min(terms.size(), maxVocabularyTerms));
        if (!terms.empty())
            pieces.push_back(text::join(terms, ", ") + ".");
    }
    if (std::string prompt = text::trimWhitespaceAndNewlines(options.initialPrompt); !prompt.empty())
        pieces.push_back(std::move(prompt));
    return text::join(pieces, " ");
}

/// As plain text: a special token that the user types is no command to the model.
std::vector<int> promptTokens(const std::string& text, const WhisperTokenizer& tokenizer) {
    std::vector<int> tokens = tokenizer.encode(" " + text);
    std::erase_if(tokens, [&](int token) { return token >= tokenizer.specialTokens().specialTokenBegin; });
    return tokens;
}

void refuseWhatTheModelCannot(const TranscribeOptions& options, const DecodingOptions& decoding,
                              const WhisperEngine& engine) {
    if (engine.isModelMultilingual())
        return;
    const std::string model = "the model " + engine.modelFolder().filename().string() + " knows English only";
    if (decoding.task == DecodingTask::translate)
        throw UsageError(model + " and cannot translate; take a model without \".en\", such as --model small");
    if (decoding.language && *decoding.language != defaultLanguageCode)
        throw UsageError(model + "; for \"" + options.language +
                         "\" take a model without \".en\", such as --model small");
}

LogLevel logLevel(Talk talk) {
    switch (talk) {
    case Talk::verbose:
        return LogLevel::info;
    case Talk::everyToken:
        return LogLevel::debug;
    default:
        return LogLevel::none;
    }
}

} // namespace

std::unique_ptr<WhisperEngine> loadEngine(const TranscribeOptions& options, CommandServices& command,
                                          const std::function<void(const std::string&)>& log) {
    WhisperEngineConfig config = engineConfig(command.deployment);
    config.modelFolder = installedModel(options.model.empty() ? command.deployment.offlineModel : options.model,
                                        command.deployment, command.http, command.clock, command.stop());
    config.threads = options.threads;
    config.computeOptions = ModelComputeOptions::all(options.float32 ? ComputeUnit::float32 : ComputeUnit::automatic);
    config.compileProgress = [&](double fraction) { command.progress.fraction("Preparing the model", fraction); };
    config.logLevel = logLevel(options.talk);
    config.verbose = config.logLevel != LogLevel::none;
    config.logSink = log;
    auto engine = WhisperEngine::create(std::move(config), command.http, command.clock, command.stop());
    command.progress.finish();
    return engine;
}

DecodingOptions decodingOptions(const TranscribeOptions& options, const WhisperEngine& engine) {
    DecodingOptions decoding;
    if (options.language != "auto")
        decoding.language = languageCodeOf(options.language);
    decoding.task = options.task == "translate" ? DecodingTask::translate : DecodingTask::transcribe;
    refuseWhatTheModelCannot(options, decoding, engine);
    decoding.verbose = options.talk >= Talk::verbose;
    decoding.wordTimestamps =
        options.wordTimestamps || options.layout.maxLineWidth > 0 || options.layout.highlightWords;
    decoding.skipSpecialTokens = true;
    decoding.losesNoSpeech = true;
    decoding.seed = options.seed;
    decoding.temperature = options.temperature;
    const float steps = (hottest - options.temperature) / decoding.temperatureIncrementOnFallback;
    decoding.temperatureFallbackCount =
        std::min(decoding.temperatureFallbackCount, static_cast<int>(std::floor(steps + 0.001f)));
    decoding.chunkingStrategy = options.vad          ? ChunkingStrategy::vad
                                : options.inOnePiece ? ChunkingStrategy::none
                                                     : ChunkingStrategy::parts;
    if (options.offset || options.duration) {
        const double start = options.offset.value_or(0);
        decoding.clipTimestamps = {static_cast<float>(start)};
        if (options.duration)
            decoding.clipTimestamps.push_back(static_cast<float>(start + *options.duration));
    }
    if (const std::string prompt = promptText(options); !prompt.empty())
        decoding.promptTokens = promptTokens(prompt, engine.tokenizer());
    return decoding;
}

std::string describe(const DecodingOptions& decoding, const TranscribeOptions& options, const WhisperEngine& engine) {
    std::error_code unknown;
    const auto weights = std::filesystem::file_size(engine.modelFolder() / "model.safetensors", unknown);
    return writeJson(nlohmann::ordered_json{{"fenlo", version},
                                            {"model", engine.modelFolder().filename().string()},
                                            {"modelBytes", unknown ? 0 : weights},
                                            {"float32", options.float32},
                                            {"language", decoding.language.value_or("auto")},
                                            {"task", options.task},
                                            {"temperature", decoding.temperature},
                                            {"seed", decoding.seed},
                                            {"vad", options.vad},
                                            {"inOnePiece", options.inOnePiece},
                                            {"words", decoding.wordTimestamps},
                                            {"clip", decoding.clipTimestamps},
                                            {"prompt", decoding.promptTokens.value_or(std::vector<int>())}});
}

} // namespace fenlo
