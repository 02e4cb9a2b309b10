#pragma once

#include <functional>

namespace fenlo {

/// Runs the command that the arguments name, or `withoutCommand` when they name none, and returns the exit status of
/// the process. What a command throws is told in one line on standard error.
int runCommandLine(int argc, const char* const* argv, const std::function<int()>& withoutCommand);

} // namespace fenlo
