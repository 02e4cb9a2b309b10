#include "app/Commands.h"

#include "WhisperEngine/Output/TranscriptWriter.h"
#include "WhisperEngine/Tokenizer/WhisperTokenizer.h"
#include "WhisperEngine/WhisperEngine.h"
#include "WhisperEngine/WhisperError.h"
#include "app/LocalEngine.h"
#include "app/Progress.h"
#include "app/StandardOutput.h"
#include "app/TerminationSignals.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "settings/Deployment.h"

#include <cstdio>
#include <mutex>
#include <system_error>

namespace fenlo {

namespace fs = std::filesystem;

namespace {

using namespace whisper;

int usageError(const std::string& message) {
    std::fprintf(stderr, "fenlo: %s\n", message.c_str());
    return exitStatus::usage;
}

DecodingOptions decodingOptions(const TranscribeOptions& options) {
    DecodingOptions decoding;
    if (options.language != "auto")
        decoding.language = languageCodeOf(options.language);
    decoding.task = options.task == "translate" ? DecodingTask::translate : DecodingTask::transcribe;
    decoding.wordTimestamps = options.wordTimestamps;
    decoding.skipSpecialTokens = true;
    decoding.losesNoSpeech = true;
    decoding.seed = options.seed;
    if (options.vad)
        decoding.chunkingStrategy = ChunkingStrategy::vad;
    return decoding;
}

std::unique_ptr<WhisperEngine> loadEngine(const TranscribeOptions& options, HttpClient& http, Clock& clock,
                                          Progress& progress, std::stop_token stop) {
    const Deployment deployment = Deployment::load();
    WhisperEngineConfig config = engineConfig(deployment);
    config.modelFolder =
        installedModel(options.model.empty() ? deployment.offlineModel : options.model, deployment, http, clock, stop);
    config.threads = options.threads;
    config.computeOptions = ModelComputeOptions::all(options.float32 ? ComputeUnit::float32 : ComputeUnit::automatic);
    config.compileProgress = [&](double fraction) { progress.fraction("Preparing the model", fraction); };
    return WhisperEngine::create(std::move(config), http, clock, stop);
}

/// Written whole or not at all.
void deliver(const std::string& document, const fs::path& recording, const TranscribeOptions& options) {
    if (options.outputDirectory.empty()) {
        print(document);
        return;
    }
    const fs::path file = options.outputDirectory / (recording.stem().string() + "." + options.output);
    if (!files::writeAtomically(file, document))
        throw std::runtime_error("cannot write " + file.string() + "; free some space or check the permissions");
    std::fprintf(stderr, "%s\n", file.c_str());
}

} // namespace

int runTranscribe(const TranscribeOptions& options) {
    if (options.language != "auto" && !languageCodeOf(options.language))
        return usageError("\"" + options.language +
                          "\" is no language that Whisper knows; a code such as \"de\" is one");
    if (options.outputDirectory.empty() && options.files.size() > 1 && options.output != "txt")
        return usageError("several recordings in one stream are no " + options.output + "; add --output-dir DIR");
    std::error_code error;
    if (!options.outputDirectory.empty())
        fs::create_directories(options.outputDirectory, error);

    TerminationSignals::block();
    std::stop_source interruption;
    const TerminationSignals termination([&] { interruption.request_stop(); });
    const std::stop_token stop = interruption.get_token();
    SystemClock clock;
    CurlHttpClient http;
    Progress progress(clock);
    int status = exitStatus::ok;
    try {
        const auto engine = loadEngine(options, http, clock, progress, stop);
        progress.finish();
        for (const fs::path& recording : options.files) {
            TranscriptionCallbacks callbacks;
            callbacks.fraction = [&](double fraction) { progress.fraction(recording.filename().string(), fraction); };
            callbacks.progress = [&](const TranscriptionProgress& step) {
                progress.text(recording.filename().string(), step.text);
                return true;
            };
            try {
                const auto results = engine->transcribe(recording, decodingOptions(options), callbacks, stop);
                progress.finish();
                deliver(writeTranscript(results, transcriptFormat(options.output).value()), recording, options);
            } catch (const WhisperError& fault) {
                if (fault.kind == WhisperError::Kind::cancelled)
                    throw;
                progress.finish();
                std::fprintf(stderr, "fenlo: %s\n", fault.what()); // the other recordings may be sound
                status = exitStatus::failed;
            }
        }
    } catch (const WhisperError& fault) {
        progress.finish();
        if (fault.kind != WhisperError::Kind::cancelled)
            throw;
        throw Interrupted();
    }
    return status;
}

} // namespace fenlo
