#pragma once

#include "WhisperEngine/AudioTime.h"
#include "WhisperEngine/DecodingOptions.h"
#include "WhisperEngine/TranscriptionCheckpoint.h"
#include "WhisperEngine/TranscriptionResult.h"
#include "base/Guarded.h"
#include "speech/EarlyWindows.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <variant>
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
    /// What an engine is to recognise, and what it asks and tells meanwhile.
    struct Clip {
        std::variant<std::filesystem::path, std::span<const float>> sound; // a file, or samples at 16 kHz
        whisper::WindowAnswer answer = {};
        whisper::CheckpointCallback checkpoint = {};
    };
    /// A loaded engine: a clip in, results out. Throws what went wrong.
    using Engine = std::function<std::vector<whisper::TranscriptionResult>(
        const Clip& clip, const whisper::DecodingOptions& options, std::stop_token stop)>;
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

    static constexpr std::size_t windowLength = 30 * static_cast<std::size_t>(whisper::sampleRate); // samples
    /// How much of a clip that still grows is recognised: only the windows that will not change, or all of it, as if it
    /// ended here.
    enum class Extent { fullWindows, everything };
    /// What a run ahead gives.
    struct Heard {
        std::size_t nextWindow = 0; // samples: where the first window begins that was not decoded
        std::string text;
    };
    /// Recognises the beginning of a clip, or a finished clip's file, before somebody asks for its text: transcribe()
    /// then takes what it finds of it, see EarlyWindows. One at a time, between the beginning and the end of a take;
    /// throws as transcribe() does, and ends in the engine's kind `cancelled` within 50 ms of a stop request.
    Heard recogniseAhead(std::span<const float> samples, Extent extent, const std::string& language,
                         const std::stop_source& stop) const;
    std::string recogniseAhead(const std::filesystem::path& audio, const std::string& language,
                               const std::stop_source& stop) const;
    EarlyWindows& early() const { return m_early; }

    /// Whether the folder holds a model of the name, without starting the engine.
    bool isModelDownloaded() const;

private:
    struct State {
        std::shared_ptr<const Engine> whisperEngine;
        bool isSettingUp = false;
        std::optional<SetupStep> step;
        std::string fault;
    };

    std::shared_ptr<const Engine> engine() const;

    const std::string m_model;
    const std::filesystem::path m_modelFolder;
    const EngineMaker m_makeEngine;
    Clock& m_clock;
    Guarded<State> m_state;
    mutable EarlyWindows m_early;
};

} // namespace fenlo
