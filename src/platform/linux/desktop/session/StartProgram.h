#pragma once

#include <string>

namespace fenlo {

/// Starts a program, looked up in PATH, that runs on by itself and whose end nobody waits for. False when it is not
/// installed.
///
/// Threads: any.
bool startProgram(std::string program, std::string argument);

} // namespace fenlo
