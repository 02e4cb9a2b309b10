#pragma once

#include <filesystem>
#include <string>

/// The doors of the program. Each returns the exit status of the process.
namespace fenlo {

namespace exitStatus {
inline constexpr int ok = 0;
inline constexpr int failed = 1;   // the line on standard error says what, and what to do
inline constexpr int usage = 2;    // the arguments were wrong
inline constexpr int noSpeech = 3; // the file holds no speech
} // namespace exitStatus

struct DictateOptions {
    std::filesystem::path file;
    std::string application; // the id that the tables of applications see; empty for none
    bool json = false;
};

/// The desktop program: runs until the user quits it.
int runDesktopApp(int argc, char** argv);

/// The whole road of a take on an audio file; the text goes to standard output.
int runDictate(const DictateOptions& options);

/// Tells what of the desktop works, and the remedy for what does not. `failed` when a dictation would not work.
int runDoctor(bool json);

} // namespace fenlo
