#pragma once

namespace fenlo {

struct TranscribeOptions;

/// Returns the exit status. Throws UsageError for options that contradict each other, Interrupted after a signal, and
/// other exceptions with a line for the user for what ends the whole command; a recording that fails does not.
int runTranscribe(const TranscribeOptions& options);

} // namespace fenlo
