#pragma once

#include <fmt/core.h>
#include <functional>
#include <string>
#include <utility>

namespace fenlo::whisper {

enum class LogLevel { debug, info, error, none };

/// Where the engine's messages go: to a sink that the caller gives, from one level up. By default nowhere. A message is
/// formatted only when somebody reads it.
///
///     logging.debug("Found {} VAD chunks", chunks.size());
///
/// Threads: any; the sink must bear calls from several threads.
class Logging {
public:
    using Sink = std::function<void(const std::string& line)>;

    Logging() = default;
    Logging(LogLevel level, Sink sink) : m_level(level), m_sink(std::move(sink)) {}

    template <typename... Values>
    void debug(fmt::format_string<Values...> format, Values&&... values) const {
        write(LogLevel::debug, format, fmt::make_format_args(values...));
    }
    template <typename... Values>
    void info(fmt::format_string<Values...> format, Values&&... values) const {
        write(LogLevel::info, format, fmt::make_format_args(values...));
    }
    template <typename... Values>
    void error(fmt::format_string<Values...> format, Values&&... values) const {
        write(LogLevel::error, format, fmt::make_format_args(values...));
    }
    /// To leave out the work of composing values that nobody reads.
    bool wants(LogLevel level) const { return m_sink && level >= m_level; }

private:
    void write(LogLevel level, fmt::string_view format, fmt::format_args values) const {
        if (wants(level))
            m_sink(fmt::vformat(format, values));
    }

    LogLevel m_level = LogLevel::none;
    Sink m_sink;
};

} // namespace fenlo::whisper
