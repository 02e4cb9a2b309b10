#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>

namespace fenlo {

struct LocalTranscriberError : std::runtime_error {
    enum class Kind { notReady };
    LocalTranscriberError(Kind reason, const std::string& message) : std::runtime_error(message), kind(reason) {}
    Kind kind;
};

/// Recognition on this machine. Without an engine it is never ready, and every clip goes to the cloud.
///
/// Threads: any; transcribe() blocks.
class LocalTranscriber {
public:
    /// Turns a clip into text; no language means that the engine finds it out. Throws what went wrong.
    using Engine = std::function<std::string(const std::filesystem::path& audio,
                                             const std::optional<std::string>& language, std::stop_token)>;

    LocalTranscriber() = default;
    explicit LocalTranscriber(Engine engine) : m_engine(std::move(engine)) {}

    bool isReady() const { return m_engine != nullptr; }

    /// `language` is a code or "auto". Throws LocalTranscriberError without an engine, and the engine's errors as
    /// they are.
    std::string transcribe(const std::filesystem::path& audio, const std::string& language, std::stop_token stop) const;

private:
    Engine m_engine;
};

} // namespace fenlo
