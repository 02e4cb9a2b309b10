#pragma once

namespace fenlo {

struct TranscribeOptions;

/// Returns the exit status. Throws UsageError for options that contradict each other, Interrupted after a signal, and
/// other exceptions, with a line for the user, for a fault that concerns all recordings. A recording that fails is told
/// of, and the next one follows.
int runTranscribe(const TranscribeOptions& options);

} // namespace fenlo
