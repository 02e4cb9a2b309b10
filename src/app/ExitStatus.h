#pragma once

#include <stdexcept>
#include <string>

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

} // namespace fenlo
