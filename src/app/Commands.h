#pragma once

#include <functional>
#include <vector>

namespace CLI {
class App;
}

namespace fenlo {

/// A command of the program, as it was added to the command line.
struct Command {
    const CLI::App* parsed;   // true once the user has named it
    std::function<int()> run; // returns the exit status; what it throws ends in a line on standard error
};

/// The whole command line of the program; what it returns, in the order of --help.
std::vector<Command> addAllCommands(CLI::App& cli);

/// Each adds one command with its options to the command line.
///
/// dictate: the whole road of a take on an audio file; the text goes to standard output.
Command addDictateCommand(CLI::App& cli);
/// transcribe: the words of recordings, by the engine on this machine, with the times of their segments.
Command addTranscribeCommand(CLI::App& cli);
/// meeting: recordings of meetings, cut, told apart by speakers and recognised as a live one is, as Markdown with
/// notes.
Command addMeetingCommand(CLI::App& cli);
/// models: what models there are, on this machine and to download.
Command addModelsCommand(CLI::App& cli);
/// keys: where each service's key is, and to keep one in the desktop's keyring or remove it. A key is never shown.
Command addKeysCommand(CLI::App& cli);
/// voice-profile: measures the voice in a recording and keeps it as the profile of the user's voice.
Command addVoiceProfileCommand(CLI::App& cli);
/// bench: how fast each stage of the engine runs on this machine.
Command addBenchCommand(CLI::App& cli);
/// engine-check, for instructionTrial(): calculates with one step, and compares. `failed` when a result is wrong,
/// `usage` when this processor lacks the step; an illegal instruction ends the process.
Command addEngineCheckCommand(CLI::App& cli);
/// trigger: brings a press, a release and the like to the running program.
Command addTriggerCommand(CLI::App& cli);
/// doctor: what of the desktop works, and the remedy for what does not. `failed` when a dictation would not work.
Command addDoctorCommand(CLI::App& cli);

/// What options of several commands say.
inline constexpr const char* modelHelp = "a model's name or a part of it, or the path of a model's folder";

} // namespace fenlo
