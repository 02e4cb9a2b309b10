#include "app/CommandServices.h"
#include "app/Commands.h"
#include "app/ExitStatus.h"
#include "app/RecordingDamage.h"
#include "app/StandardOutput.h"
#include "app/TakeServices.h"
#include "audio/SpeechTest.h"
#include "audio/TakeChunks.h"
#include "base/Json.h"
#include "media/AudioFile.h"
#include "media/SpeechRate.h"
#include "platform/linux/secrets/SecretServiceStore.h"
#include "session/TakeNote.h"
#include "session/TakePipeline.h"
#include "settings/Config.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

namespace fenlo {

namespace {

struct DictateOptions {
    std::filesystem::path file;
    std::string application; // the id that the tables of applications see; empty for none
    bool isCommand = false;  // the words are an instruction to the language model
    std::string selection;   // the text that they are about
    bool json = false;
};

/// A recording cut into chunk files, as the recorder would have left it.
Take takeFromSamples(std::span<const float> samples) {
    Take take;
    take.isCopy = true;
    take.duration = static_cast<double>(samples.size()) / speechRate;
    const SpeechTestResult test = testSpeech(samples, take.duration);
    take.speechRatio = test.speechRatio.value_or(1.0f);
    if (!test.keep && take.duration <= chunkDuration)
        return take;
    auto chunks = writeChunks(samples, speechRate);
    if (!chunks)
        throw std::runtime_error("cannot write to " + std::filesystem::temp_directory_path().string() +
                                 "; free some space or set TMPDIR");
    take.chunks = std::move(*chunks);
    return take;
}

struct FileTake {
    Take take;
    bool isDamaged = false;
};

FileTake takeFromFile(const std::filesystem::path& file) {
    const Recording recording = readRecording(file, speechRate);
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

int runDictate(const DictateOptions& options) {
    CommandServices command;
    const auto [take, isDamaged] = takeFromFile(options.file);
    if (take.chunks.empty()) {
        std::fprintf(stderr, "fenlo: %s holds no speech\n", options.file.c_str());
        return exitStatus::noSpeech;
    }
    Config config(Config::defaultFile(), command.clock);
    SecretServiceStore secrets;
    TakeServices services(config, command.deployment, command.http, secrets, command.clock);
    if (config.get().offlineMode)
        services.localTranscriber.setup({}, command.stop());

    TakeListener listener;
    listener.isCancelled = [token = command.stop()] { return token.stop_requested(); };
    listener.onChunk = [](int index, int total) { std::fprintf(stderr, "Transcribing %d/%d...\n", index, total); };
    listener.situation = [&] {
        return TakeSituation{
            .isCommandMode = options.isCommand, .context = contextOf(options), .lastText = {}, .secondsSincePaste = {}};
    };
    // Should this process die, the next start of the desktop program clears the copy away.
    const auto note = services.keptTakes.begin();
    note->write(take);
    listener.onProgress = [&](const Take& rest) { note->write(rest); };
    const TakeOutcome result = TakePipeline(config, services.steps()).run(take, listener, command.stop());
    note->discard();
    if (command.stop().stop_requested())
        throw Interrupted();
    const int status = tell(result, take, options);
    return status == exitStatus::ok && isDamaged ? exitStatus::damaged : status;
}

} // namespace

Command addDictateCommand(CLI::App& cli) {
    const auto options = std::make_shared<DictateOptions>();
    CLI::App& command = *cli.add_subcommand("dictate", "Turn an audio file into text, the way a take is");
    command.add_option("FILE", options->file, "the recording: WAV, FLAC, Ogg, MP3; others with ffmpeg installed")
        ->required();
    command.add_option("--app", options->application,
                       "treat the text as for this application, such as \"terminal\" or \"mail\"");
    command.add_flag("--command", options->isCommand,
                     "the words are an instruction to the language model, as after Space during a take");
    command.add_option("--selection", options->selection, "the selected text that the words are about");
    command.add_flag("--json", options->json, "print a JSON object: kind, text, and how the take went");
    return {&command, [options] { return runDictate(*options); }};
}

} // namespace fenlo
