#pragma once

#include "shell/Diagnosis.h"

#include <optional>
#include <stop_token>
#include <vector>

namespace fenlo {

/// examine() in a process of its own, for the running desktop program: the examination makes connections, and loads a
/// model, that the program must not keep, and asks the panel with an event loop of its own.
///
/// Threads: any; blocks for seconds, no longer than a second after a stop.
/// Errors:  nothing when the process does not start, is stopped, or takes longer than a minute.
std::optional<std::vector<Diagnosis>> examineApart(std::stop_token stop);

} // namespace fenlo
