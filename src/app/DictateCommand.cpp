#include "app/Commands.h"
#include "app/RecordingDamage.h"
#include "app/StandardOutput.h"
#include "app/TakeServices.h"
#include "app/TerminationSignals.h"
#include "audio/ChunkWriter.h"
#include "audio/QuietCut.h"
#include "audio/SpeechTest.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Json.h"
#include "media/AudioFile.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "session/TakeNote.h"
#include "session/TakePipeline.h"
#include "settings/Config.h"
#include "settings/Deployment.h"

#include <cstdio>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

constexpr double chunkSeconds = 240.0;

constexpr int takeRate = 16000; // hertz

/// A recording cut into chunk files, as the recorder would have left it.
Take takeFromSamples(std::span<const float> samples) {
    Take take;
    take.isCopy = true;
    take.duration = static_cast<double>(samples.size()) / takeRate;
    const SpeechTestResult test = testSpeech(samples, take.duration);
    take.speechRatio = test.speechRatio.value_or(1.0f);
    const auto chunkLength = static_cast<std::size_t>(chunkSeconds * takeRate);
    const bool inOnePiece = samples.size() <= chunkLength;
    if (inOnePiece && !test.keep)
        return take;
    for (auto rest = samples; !rest.empty();) {
        const std::size_t cut = rest.size() <= chunkLength
                                    ? rest.size()
                                    : quietCut(rest.first(chunkLength), takeRate, WithoutQuiet::atPause);
        const auto chunk = writeChunk(rest.first(cut), takeRate);
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

struct FileTake {
    Take take;
    bool isDamaged = false;
};

FileTake takeFromFile(const std::filesystem::path& file) {
    const Recording recording = readRecording(file, takeRate);
    tellDamages(file, recording.damages);
    return {takeFromSamples(recording.samples), !recording.damages.empty()};
}

FocusContext contextOf(const DictateOptions& options) {
    FocusContext context;
    context.appName = context.appBundleId = options.application;
    context.selectedText = options.selection;
    context.hasTextField = true;
    return context;
}

/// What a take came to, where it came to a text.
nlohmann::ordered_json describe(const TakeOutcome& result) {
    if (const auto* dictation = std::get_if<outcome::Dictation>(&result))
        return {{"kind", "dictation"},
                {"text", dictation->text},
                {"rawText", dictation->rawText},
                {"actions", dictation->actions},
                {"rewritten", dictation->wasRewritten}};
    if (const auto* snippet = std::get_if<outcome::Snippet>(&result))
        return {{"kind", "snippet"}, {"text", snippet->expansion}};
    if (const auto* answer = std::get_if<outcome::CommandAnswer>(&result))
        return {{"kind", "command"}, {"text", answer->answer}};
    if (const auto* failed = std::get_if<outcome::CommandFailed>(&result))
        return {{"kind", "command_failed"}, {"text", failed->rawText}};
    return nullptr;
}

int tell(const TakeOutcome& result, const Take& take, const DictateOptions& options) {
    nlohmann::ordered_json told = describe(result);
    if (!told.is_object()) {
        if (!std::holds_alternative<outcome::Empty>(result))
            return exitStatus::failed; // the log line on standard error has said why
        std::fprintf(stderr, "fenlo: the recogniser heard no words in %s\n", options.file.c_str());
        return exitStatus::noSpeech;
    }
    if (options.json) {
        told["duration"] = take.duration;
        told["speechRatio"] = take.speechRatio;
        print(writeJson(told, 2) + "\n");
    } else {
        print(told.at("text").get_ref<const std::string&>() + "\n");
    }
    if (std::holds_alternative<outcome::CommandFailed>(result)) {
        std::fprintf(stderr, "fenlo: no language model carried out the instruction; its words are printed as spoken\n");
        return exitStatus::failed;
    }
    return exitStatus::ok;
}

} // namespace

int runDictate(const DictateOptions& options) {
    TerminationSignals::block();
    std::stop_source interruption;
    const auto [take, isDamaged] = takeFromFile(options.file);
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
    TakeServices services(config, deployment, http, secrets, clock);
    if (config.get().offlineMode)
        services.localTranscriber.setup({}, interruption.get_token());

    TakeListener listener;
    listener.isCancelled = [token = interruption.get_token()] { return token.stop_requested(); };
    listener.onChunk = [](int index, int total) { std::fprintf(stderr, "Transcribing %d/%d...\n", index, total); };
    listener.situation = [&] {
        return TakeSituation{
            .isCommandMode = options.isCommand, .context = contextOf(options), .lastText = {}, .secondsSincePaste = {}};
    };
    // Should this process die, the next start of the desktop program clears the copy away.
    const auto note = services.keptTakes.begin();
    note->write(take);
    listener.onProgress = [&](const Take& rest) { note->write(rest); };
    const TakeOutcome result = TakePipeline(config, services.steps()).run(take, listener, interruption.get_token());
    note->discard();
    if (interruption.stop_requested())
        throw Interrupted();
    const int status = tell(result, take, options);
    return status == exitStatus::ok && isDamaged ? exitStatus::damaged : status;
}

} // namespace fenlo
