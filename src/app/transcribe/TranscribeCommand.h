#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace fenlo {

/// The command `transcribe`: the words of recordings, by the engine on this machine, with the times of their segments.
/// Adds it to the command line; what comes back runs it once the command line is parsed, and returns the exit status.
std::function<int()> addTranscribeCommand(CLI::App& cli);

} // namespace fenlo
