#pragma once

#include <filesystem>
#include <fmt/core.h>
#include <string_view>

namespace fenlo {

namespace detail {
void writeLog(std::string_view prefix, fmt::string_view format, fmt::format_args values);
} // namespace detail

/// Writes "[Fenlo] ", the formatted text and a newline to standard error and appends them to the log file, which is
/// opened for each line, so that a log that was deleted or rotated away begins again. The format is checked at compile
/// time.
///
///     logInfo("{} models in {}", models.size(), folder.string());
///
/// Threads: any. Never on the audio thread.
/// Errors:  none; a line that cannot be written is lost.
template <typename... Values>
void logInfo(fmt::format_string<Values...> format, Values&&... values) {
    detail::writeLog("[Fenlo] ", format, fmt::make_format_args(values...));
}

/// Like logInfo, for failures: the line begins with "[Fenlo] ERROR: ".
template <typename... Values>
void logError(fmt::format_string<Values...> format, Values&&... values) {
    detail::writeLog("[Fenlo] ERROR: ", format, fmt::make_format_args(values...));
}

/// `$XDG_STATE_HOME/fenlo/Fenlo.log`, by default under ~/.local/state.
std::filesystem::path logFile();

} // namespace fenlo
