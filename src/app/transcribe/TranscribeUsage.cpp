#include "app/Commands.h"
#include "app/transcribe/TranscribeOptions.h"
#include "app/transcribe/TranscribeRun.h"

#include <CLI/CLI.hpp>
#include <memory>

namespace fenlo {

namespace {

void addInput(CLI::App& command, TranscribeOptions& options) {
    command.add_option("FILE", options.inputs,
                       "recordings: WAV, FLAC, Ogg, MP3; others with ffmpeg installed; - is standard input");
    command.add_flag("--recursive", options.recursive, "a folder stands for all recordings in it and its folders")
        ->group("Input");
    command.add_option("--offset", options.offset, "begin at this second")
        ->check(CLI::NonNegativeNumber)
        ->group("Input");
    command.add_option("--duration", options.duration, "take this many seconds only")
        ->check(CLI::PositiveNumber)
        ->group("Input");
}

void addRecognition(CLI::App& command, TranscribeOptions& options) {
    const char* group = "Recognition";
    command.add_option("--model", options.model, modelHelp)->type_name("MODEL")->group(group);
    command.add_option("--language", options.language, "a code or name, such as \"de\" or \"german\"")
        ->capture_default_str()
        ->group(group);
    command.add_flag("--list-languages", options.listLanguages, "print all languages, and end")->group(group);
    command.add_option("--task", options.task, "transcribe, or translate into English")
        ->check(CLI::IsMember({"transcribe", "translate"}))
        ->capture_default_str()
        ->group(group);
    command.add_option("--initial-prompt", options.initialPrompt, "text as if it stood before: its names, its style")
        ->group(group);
    command
        .add_flag("--custom-vocabulary", options.customVocabulary,
                  "put the \"custom_vocabulary\" of the settings into the prompt too")
        ->group(group);
    command.add_option("--temperature", options.temperature, "from 0, the likeliest words, to 1, more daring ones")
        ->check(CLI::Range(0.0, 1.0))
        ->capture_default_str()
        ->group(group);
    command.add_option("--seed", options.seed, "another seed draws other words where the engine is in doubt")
        ->capture_default_str()
        ->group(group);
    CLI::Option* vad = command.add_flag(
        "--vad", options.vad, "cut recordings at their silences into pieces of 30 seconds at most; words may differ");
    vad->group(group);
    command
        .add_flag(
            "--in-one-piece", options.inOnePiece,
            "walk through a long recording from beginning to end; without this, one of ten minutes or more is cut at "
            "silences into eight parts at most, which are worked on side by side and sooner done")
        ->excludes(vad)
        ->group(group);
}

void addOutput(CLI::App& command, TranscribeOptions& options) {
    const char* group = "Output";
    command.add_option("--output", options.outputs, "txt, srt, vtt, tsv, json; several: srt,json with --output-dir")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::IsMember({"txt", "srt", "vtt", "tsv", "json"}))
        ->default_str("txt")
        ->group(group);
    CLI::Option* folder = command.add_option("--output-dir", options.outputDirectory,
                                             "write files for each recording here, instead of to standard output");
    folder->type_name("FOLDER")->group(group);
    const auto addChoice = [&](const char* name, ExistingResults choice, const char* help) {
        return command
            .add_flag_callback(
                name, [&options, choice] { options.existing = choice; }, help)
            ->needs(folder)
            ->group(group);
    };
    CLI::Option* skip = addChoice("--skip-existing", ExistingResults::skip, "leave out recordings that have results");
    CLI::Option* overwrite = addChoice("--overwrite", ExistingResults::replace,
                                       "replace results of earlier runs, instead of giving new ones a number");
    CLI::Option* resume =
        addChoice("--resume", ExistingResults::resume, "go on where the same command was interrupted");
    skip->excludes(overwrite)->excludes(resume);
    overwrite->excludes(resume);
    command.add_flag("--word-timestamps", options.wordTimestamps, "find the time of every word")->group(group);
    CLI::Option* width =
        command.add_option("--max-line-width", options.layout.maxLineWidth, "characters in a line of subtitles");
    width->check(CLI::Range(1, 10000))->group(group);
    command.add_option("--max-line-count", options.layout.maxLineCount, "lines of subtitles at a time")
        ->check(CLI::Range(1, 1000))
        ->needs(width)
        ->group(group);
    command
        .add_flag("--highlight-words", options.layout.highlightWords,
                  "underline each word of subtitles as it is spoken")
        ->group(group);
}

void addRunning(CLI::App& command, TranscribeOptions& options) {
    const char* group = "Running";
    command.add_option("--threads", options.threads, "of the engine; by default one for each core")
        ->check(CLI::Range(0, 1024))
        ->group(group);
    command.add_flag("--float32", options.float32, "compute in 32-bit floats: slower, the reference")->group(group);
    CLI::Option* quiet = command.add_flag_callback(
        "--quiet", [&options] { options.talk = Talk::quiet; }, "tell of faults only, show no progress");
    quiet->group(group);
    command
        .add_flag_function(
            "--verbose",
            [&options](std::int64_t count) { options.talk = count > 1 ? Talk::everyToken : Talk::verbose; },
            "show the engine's own log lines; twice for those of every token")
        ->excludes(quiet)
        ->group(group);
}

constexpr const char* examples =
    "Examples:\n"
    "  fenlo transcribe talk.mp3                                     the text, as it is found\n"
    "  fenlo transcribe --output srt,json --output-dir out *.wav     files for each recording\n"
    "  fenlo transcribe --output-dir out --recursive lectures        all recordings in a folder\n"
    "  fenlo transcribe --output-dir out --recursive lectures --resume   after Control-C or a crash\n"
    "  fenlo transcribe --output srt --max-line-width 42 --max-line-count 2 --highlight-words talk.mp3 > talk.srt\n"
    "  arecord -d 10 -r 16000 -f S16_LE | fenlo transcribe -\n"
    "Text comes to standard output, all else to standard error. Files are written whole at the end; until then what "
    "was\n"
    "found is in a .partial file beside them. Exit status: 0 done, 1 a recording failed, 2 wrong arguments, 3 no "
    "speech,\n"
    "4 a recording is damaged and was transcribed as far as it goes, 130 interrupted.";

} // namespace

Command addTranscribeCommand(CLI::App& cli) {
    const auto options = std::make_shared<TranscribeOptions>();
    CLI::App& command = *cli.add_subcommand(
        "transcribe", "Turn audio files into text or subtitles with the engine on this machine, without a network");
    command.footer(examples);
    addInput(command, *options);
    addRecognition(command, *options);
    addOutput(command, *options);
    addRunning(command, *options);
    return {&command, [options] { return runTranscribe(*options); }};
}

} // namespace fenlo
