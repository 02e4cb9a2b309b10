#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

/// The doors of the program. Each returns the exit status of the process; what it throws ends in a line on standard
/// error and `failed`, `usage` or `interrupted`.
namespace fenlo {

namespace exitStatus {
inline constexpr int ok = 0;
inline constexpr int failed = 1;        // the line on standard error says what, and what to do
inline constexpr int usage = 2;         // the arguments were wrong
inline constexpr int noSpeech = 3;      // the file holds no speech
inline constexpr int damaged = 4;       // a recording is damaged or cut; what can be read of it was transcribed
inline constexpr int interrupted = 130; // by Control-C or another signal, as a shell tells it
} // namespace exitStatus

/// Arguments that contradict each other or that the machine cannot follow. what() is one line with the remedy.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The user ends a command by a signal. what() is the line on standard error.
struct Interrupted : std::runtime_error {
    explicit Interrupted(const std::string& line = "interrupted") : std::runtime_error(line) {}
};

struct DictateOptions {
    std::filesystem::path file;
    std::string application; // the id that the tables of applications see; empty for none
    bool isCommand = false;  // the words are an instruction to the language model
    std::string selection;   // the text that they are about
    bool json = false;
};

struct BenchOptions {
    std::string model; // empty for the offline model
    int threads = 0;
    bool float32 = false;
    bool json = false;
};

/// The desktop program: runs until the user quits it.
int runDesktopApp(int argc, char** argv);

/// The whole road of a take on an audio file; the text goes to standard output.
int runDictate(const DictateOptions& options);

/// What models there are, on this machine and to download.
int runModelsList(bool json);
int runModelsDownload(const std::string& name);
/// Fetches what is damaged or missing of an installed model, prepares it again and loads it.
int runModelsRepair(const std::string& name);
int runModelsRemove(const std::string& name);
/// The folder of a model, or of all of them without a name.
int runModelsPath(const std::string& name);

/// The keys of the services in the desktop's keyring, which are never shown: where each is, and to keep or remove one.
/// A new one is read from standard input.
int runKeysList(bool json);
int runKeysSet(const std::string& name);
int runKeysRemove(const std::string& name);

/// Measures the voice in a recording and keeps it as the profile of the user's voice.
int runVoiceProfile(const std::filesystem::path& recording, bool json);

/// How fast each stage of the engine runs on this machine.
int runBench(const BenchOptions& options);

/// For instructionTrial(): calculates with this step, and compares. `failed` when a result is wrong, `usage` when this
/// processor lacks the step; an illegal instruction ends the process.
int runEngineCheck(const std::string& step);

/// Tells what of the desktop works, and the remedy for what does not. `failed` when a dictation would not work.
int runDoctor(bool json);

} // namespace fenlo
