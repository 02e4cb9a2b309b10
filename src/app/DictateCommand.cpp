#include "app/Commands.h"

#include "app/LocalEngine.h"
#include "app/TerminationSignals.h"
#include "audio/ChunkWriter.h"
#include "audio/QuietCut.h"
#include "audio/SpeechTest.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "media/AudioFile.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "session/TakePipeline.h"
#include "settings/Config.h"
#include "settings/Deployment.h"
#include "settings/Keychain.h"
#include "speech/LocalTranscriber.h"
#include "speech/Transcriber.h"

#include <cstdio>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

constexpr double chunkSeconds = 240.0;

/// A recording cut into chunk files, as the recorder would have left it.
Take takeFromFile(const std::filesystem::path& file) {
    const AudioSamples audio = readAudioFile(file);
    const std::span<const float> samples(audio.mono);
    Take take;
    take.duration = static_cast<double>(samples.size()) / audio.sampleRate;
    const SpeechTestResult test = testSpeech(samples, take.duration);
    take.speechRatio = test.speechRatio.value_or(1.0f);
    const auto chunkLength = static_cast<std::size_t>(chunkSeconds * audio.sampleRate);
    const bool inOnePiece = samples.size() <= chunkLength;
    if (inOnePiece && !test.keep)
        return take;
    for (auto rest = samples; !rest.empty();) {
        const std::size_t cut =
            rest.size() <= chunkLength ? rest.size() : quietCut(rest.first(chunkLength), audio.sampleRate);
        const auto chunk = writeChunk(rest.first(cut), audio.sampleRate);
        if (!chunk) {
            for (const auto& written : take.chunks)
                files::removeQuietly(written);
            throw std::runtime_error("cannot write to " + std::filesystem::temp_directory_path().string() +
                                     "; free some space or set TMPDIR");
        }
        take.chunks.push_back(*chunk);
        rest = rest.subspan(cut);
    }
    return take;
}

int print(const outcome::Dictation& dictation, const Take& take, bool json) {
    if (!json) {
        std::printf("%s\n", dictation.text.c_str());
        return exitStatus::ok;
    }
    const nlohmann::ordered_json result{{"text", dictation.text},
                                        {"rawText", dictation.rawText},
                                        {"actions", dictation.actions},
                                        {"duration", take.duration},
                                        {"speechRatio", take.speechRatio}};
    std::printf("%s\n", result.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
    return exitStatus::ok;
}

} // namespace

int runDictate(const DictateOptions& options) {
    TerminationSignals::block();
    std::stop_source interruption;
    const Take take = takeFromFile(options.file);
    if (take.chunks.empty()) {
        std::fprintf(stderr, "fenlo: %s holds no speech\n", options.file.c_str());
        return exitStatus::noSpeech;
    }
    const TerminationSignals termination([&] { interruption.request_stop(); });
    SystemClock clock;
    Config config(Config::defaultFile(), clock);
    const Deployment deployment = Deployment::load();
    CurlHttpClient http;
    SecretServiceStore secrets;
    Keychain keychain(secrets);
    LocalTranscriber localTranscriber(deployment.offlineModel, modelsDirectory(),
                                      localEngineMaker(deployment, http, clock), clock);
    if (config.get().offlineMode)
        localTranscriber.setup({}, interruption.get_token());
    Transcriber transcriber(config, deployment, http, keychain, localTranscriber, {}, {}, clock);

    TakeSteps steps;
    steps.transcribe = [&](const TranscribeRequest& request, std::stop_token stop) {
        return transcriber.transcribe(request, stop);
    };
    steps.lastMeta = [&] { return transcriber.lastMeta(); };
    TakeListener listener;
    listener.isCancelled = [token = interruption.get_token()] { return token.stop_requested(); };
    listener.onChunk = [](int index, int total) { std::fprintf(stderr, "Transcribing %d/%d...\n", index, total); };
    listener.situation = [&] {
        TakeSituation situation;
        situation.context.emplace();
        situation.context->appName = situation.context->appBundleId = options.application;
        return situation;
    };
    const TakeOutcome result = TakePipeline(config, std::move(steps)).run(take, listener, interruption.get_token());
    if (const auto* dictation = std::get_if<outcome::Dictation>(&result))
        return print(*dictation, take, options.json);
    if (const auto* snippet = std::get_if<outcome::Snippet>(&result))
        return print({.actions = {}, .text = snippet->expansion, .rawText = snippet->expansion}, take, options.json);
    if (std::holds_alternative<outcome::Empty>(result)) {
        std::fprintf(stderr, "fenlo: the recogniser heard no words in %s\n", options.file.c_str());
        return exitStatus::noSpeech;
    }
    return exitStatus::failed; // the log line on standard error has said why
}

} // namespace fenlo
