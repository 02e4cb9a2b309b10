#pragma once

#include <filesystem>
#include <string_view>

namespace fenlo {

/// Writes the line and a newline to standard error and appends them to the log file, which is opened for each line:
/// a log that was deleted or rotated away is simply begun anew. Adds no time, level or prefix; callers begin their
/// lines with "[Fenlo] ", and "[Fenlo] ERROR: " for failures.
///
/// Threads: any. Never on the audio thread.
/// Errors:  none; a line that cannot be written is lost.
void log(std::string_view line);

/// `$XDG_STATE_HOME/fenlo/Fenlo.log`, by default under ~/.local/state.
std::filesystem::path logFile();

} // namespace fenlo
