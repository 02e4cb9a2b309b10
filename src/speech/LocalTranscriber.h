#pragma once

#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/TranscriptionResult.h"
#include "base/Guarded.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

class Clock;

struct LocalTranscriberError : std::runtime_error {
    enum class Kind { notReady };
    LocalTranscriberError(Kind reason, const std::string& message) : std::runtime_error(message), kind(reason) {}
    Kind kind;
};

/// How far a set-up is, finer than its status.
struct SetupStep {
    enum class Kind { downloading, preparing };
    Kind kind = Kind::downloading;
    std::uint64_t done = 0;  // bytes of the download, those of earlier attempts included; or thousandths
    std::uint64_t total = 0; // 0 while it is not known
};

/// Recognition on this machine. Until setup() has succeeded it is not ready, and every clip goes to the cloud.
///
/// Threads: any; setup() and transcribe() block. A second setup() returns at once while the first is under way.
/// Errors:  setup() throws nothing; transcribe() throws LocalTranscriberError and the engine's errors as they are.
class LocalTranscriber {
public:
    /// A loaded engine: an audio file in, results out. Throws what went wrong.
    using Engine = std::function<std::vector<whisper::TranscriptionResult>(
        const std::filesystem::path& audio, const whisper::DecodingOptions& options, std::stop_token stop)>;
    using Steps = std::function<void(const SetupStep&)>;
    /// Makes an engine of the model `name` with its files in `folder`: downloads, compiles and loads it, which may take
    /// minutes. `steps` may be empty. Throws what went wrong.
    using EngineMaker = std::function<Engine(const std::string& name, const std::filesystem::path& folder,
                                             const Steps& steps, std::stop_token stop)>;
    using Progress = std::function<void(const std::string& status, double fraction)>;

    LocalTranscriber(std::string model, std::filesystem::path modelFolder, EngineMaker makeEngine, Clock& clock);

    /// Both callbacks may be empty and are called on the calling thread or one of the download. A stop request ends the
    /// set-up within a second, except while a model is loaded; a download goes on from there the next time.
    void setup(const Progress& progress, std::stop_token stop, const Steps& steps = {});
    bool isReady() const;
    /// Why the last set-up failed, in one line; empty when it did not.
    std::string setupFault() const;
    bool isSettingUp() const;
    /// How far the set-up that is under way is; nothing without one, and before its first step.
    std::optional<SetupStep> setupStep() const;

    /// `language` is a code or "auto".
    std::string transcribe(const std::filesystem::path& audio, const std::string& language, std::stop_token stop) const;

    /// Whether the folder holds a model of the name, without starting the engine.
    bool isModelDownloaded() const;

private:
    struct State {
        std::shared_ptr<const Engine> whisperEngine;
        bool isSettingUp = false;
        std::optional<SetupStep> step;
        std::string fault;
    };

    const std::string m_model;
    const std::filesystem::path m_modelFolder;
    const EngineMaker m_makeEngine;
    Clock& m_clock;
    Guarded<State> m_state;
};

} // namespace fenlo
