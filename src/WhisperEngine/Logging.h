#pragma once

#include <functional>
#include <string>
#include <utility>

namespace fenlo::whisper {

enum class LogLevel { debug, info, error, none };

/// Where the engine's messages go: to a sink that the caller gives, from one level up. By default nowhere.
///
/// Threads: any; the sink must bear calls from several threads.
class Logging {
public:
    using Sink = std::function<void(const std::string& line)>;

    Logging() = default;
    Logging(LogLevel level, Sink sink) : m_level(level), m_sink(std::move(sink)) {}

    void debug(const std::string& line) const { write(LogLevel::debug, line); }
    void info(const std::string& line) const { write(LogLevel::info, line); }
    void error(const std::string& line) const { write(LogLevel::error, line); }
    /// To leave out the work of composing a line that nobody reads.
    bool wants(LogLevel level) const { return m_sink && level >= m_level; }

private:
    void write(LogLevel level, const std::string& line) const {
        if (wants(level))
            m_sink(line);
    }

    LogLevel m_level = LogLevel::none;
    Sink m_sink;
};

} // namespace fenlo::whisper
