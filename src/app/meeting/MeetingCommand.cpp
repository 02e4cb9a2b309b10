#include "app/Commands.h"
#include "app/ExitStatus.h"
#include "app/meeting/MeetingOptions.h"
#include "app/meeting/RecordedMeetings.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <memory>
#include <utility>

namespace fenlo {

namespace {

/// "2=Ann" names the second speaker.
std::pair<int, std::string> nameOf(const std::string& given) {
    const auto equals = given.find('=');
    int number = 0;
    const auto [end, error] = std::from_chars(given.data(), given.data() + std::min(equals, given.size()), number);
    if (equals == given.npos || error != std::errc() || end != given.data() + equals || number < 1 ||
        equals + 1 == given.size())
        throw UsageError("--name " + given + " names nobody; write --name 2=Ann for Speaker 2");
    return {number - 1, given.substr(equals + 1)};
}

void addInput(CLI::App& command, MeetingOptions& options) {
    command.add_option("FILE", options.inputs,
                       "recordings: WAV, FLAC, Ogg, MP3; others with ffmpeg installed; - is standard input");
    command.add_flag("--recursive", options.recursive, "a folder stands for all recordings in it and its folders")
        ->group("Input");
}

void addMeeting(CLI::App& command, MeetingOptions& options) {
    const char* group = "Meeting";
    command.add_option("--subject", options.subject, "what it was about; by default the recording's name")
        ->group(group);
    command
        .add_option_function<std::vector<std::string>>(
            "--name",
            [&options](const std::vector<std::string>& names) {
                for (const std::string& name : names)
                    options.names.insert_or_assign(nameOf(name).first, nameOf(name).second);
            },
            "who Speaker N is, such as 2=Ann; once for each")
        ->allow_extra_args(false)
        ->group(group);
    command
        .add_option_function<std::string>(
            "--template", [&options](const std::string& kind) { options.kind = meetingTemplateOf(kind).value(); },
            "what the notes are to stress")
        ->check(CLI::IsMember([] {
            std::vector<std::string> kinds;
            for (const MeetingTemplate kind : meetingTemplates)
                kinds.emplace_back(rawValue(kind));
            return kinds;
        }()))
        ->default_str("general")
        ->group(group);
    command
        .add_flag_callback(
            "--transcription", [&options] { options.mode = MeetingMode::transcription; },
            "one speaker, and short pieces, as in transcription mode")
        ->group(group);
}

void addServices(CLI::App& command, MeetingOptions& options) {
    const char* group = "Services";
    command
        .add_flag("--offline", options.offline,
                  "recognise on this machine, whatever the settings say; notes only with --notes")
        ->group(group);
    command.add_option("--model", options.model, "as --offline, with this model: its name or a part of it")
        ->type_name("MODEL")
        ->group(group);
    CLI::Option* notes = command.add_flag_callback(
        "--notes", [&options] { options.notes = WantedNotes::always; },
        "fail where no language model writes notes; by default they are written where there is a key for one");
    notes->group(group);
    command
        .add_flag_callback(
            "--no-notes", [&options] { options.notes = WantedNotes::never; }, "write the transcript only")
        ->excludes(notes)
        ->group(group);
}

void addOutput(CLI::App& command, MeetingOptions& options) {
    const char* group = "Output";
    CLI::Option* file = command.add_option("-o,--output", options.output, "write this file, not to standard output");
    file->type_name("FILE")->group(group);
    CLI::Option* folder =
        command.add_option("--output-dir", options.outputDirectory, "write a file for each recording into this folder");
    folder->type_name("FOLDER")->excludes(file)->group(group);
    CLI::Option* skip = command.add_flag_callback(
        "--skip-existing", [&options] { options.existing = ExistingResults::skip; },
        "leave out recordings that have a file there");
    skip->needs(folder)->group(group);
    command
        .add_flag_callback(
            "--overwrite", [&options] { options.existing = ExistingResults::replace; },
            "replace files of earlier runs, instead of giving new ones a number")
        ->needs(folder)
        ->excludes(skip)
        ->group(group);
    command.add_flag("--archive", options.archive, "put it among the past meetings, where the program's window has it")
        ->group(group);
    CLI::Option* quiet = command.add_flag("--quiet", options.quiet, "tell of faults only, show no progress");
    quiet->group(group);
    command.add_flag("--verbose", options.verbose, "show the log lines too")->excludes(quiet)->group(group);
}

constexpr const char* meetingExamples =
    "Examples:\n"
    "  fenlo meeting call.mp3 > call.md                         who said what, and notes where a key is there\n"
    "  fenlo meeting --name 1=Ann --name 2=Bob -o call.md call.mp3\n"
    "  fenlo meeting --archive --subject \"Weekly\" call.mp3      beside the meetings that were recorded live\n"
    "  fenlo meeting --offline --no-notes --output-dir out --recursive calls\n"
    "  fenlo meeting --template standup --notes -o monday.md monday.wav\n"
    "A recording is cut at its pauses, after ten seconds at the latest, and each piece is given to the voice that it\n"
    "resembles: a man and a woman who take turns are told apart, two men or two women often not. Speech is recognised "
    "as\n"
    "the settings say, on this machine in offline mode. Markdown comes to standard output, all else to standard "
    "error;\n"
    "after Control-C what was heard is in FILE.part beside the file to be written. Exit status: 0 done, 1 failed, 2 "
    "wrong\n"
    "arguments, 3 no speech, 4 a recording is damaged and was taken as far as it goes, 130 interrupted.";

} // namespace

Command addMeetingCommand(CLI::App& cli) {
    const auto options = std::make_shared<MeetingOptions>();
    CLI::App& command =
        *cli.add_subcommand("meeting", "Turn recordings of meetings into transcripts with speakers and notes");
    command.footer(meetingExamples);
    addInput(command, *options);
    addMeeting(command, *options);
    addServices(command, *options);
    addOutput(command, *options);
    return {&command, [options] { return runMeeting(*options); }};
}

} // namespace fenlo
