#pragma once

#include "audio/AudioRecorder.h"
#include "audio/RecordingServices.h"
#include "audio/voice/VoiceProfile.h"
#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace fenlo {

class HotkeyListener;
class KeyEvents;

/// The user reads a passage aloud, and it becomes the voice profile. The passage is read while the hotkey is held, in
/// one hold or in several; all that was spoken counts and is used.
///
/// Threads:  main thread only; the profile is built on a worker.
/// Errors:   status() and reason() say what went wrong, and the next hold tries again.
/// Lifetime: a profile that is being built is finished and counts even when this dies.
class VoiceReading {
public:
    struct Services {
        RecordingServices recording;
        KeyEvents& keys;
    };
    /// Whose hotkey it is: in the running program dictation must let go of it meanwhile.
    enum class Stage { firstStart, running };
    enum class State {
        ready,
        reading,
        needsMore, // the key was released too early
        building,
        failed,
        learned,
    };
    struct Tint {
        double red, green, blue; // 0 to 1
    };

    VoiceReading(Services services, std::filesystem::path profileFile, Stage stage);
    ~VoiceReading();
    VoiceReading(const VoiceReading&) = delete;
    VoiceReading& operator=(const VoiceReading&) = delete;

    /// As the hotkey does, also for a button that is held.
    void keyDown();
    void keyUp();
    /// Leaves without a profile.
    void skip();
    /// Does not hear the hotkey any more, whatever is under way.
    void letGoOfKey();
    /// The profile is there, or was skipped. This may be destroyed in it.
    std::function<void(bool learned)> onFinished;

    State state() const { return m_state; }
    /// What the user should know now; empty before the first hold.
    std::string status() const;
    /// The colour of the status; none for the usual one.
    std::optional<Tint> statusTint() const;
    /// More about what went wrong; mostly empty.
    std::string reason() const;
    bool canSkip() const { return m_state != State::building && m_state != State::learned; }

    static std::span<const std::string_view> passage();
    /// The line to read now, an index into passage().
    std::size_t line() const;
    double elapsed() const; // seconds of holding
    double speech() const;  // seconds of it in which something was said
    double progress() const { return std::min(1.0, speech() / enoughSpeech); }
    float level() const; // 0 to 1
    std::string keyLabel() const;

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    class Spoken;

    static constexpr double enoughSpeech = 10.0; // seconds

    void tick();
    void become(State state);
    void build();
    void built(BuiltProfile result);
    void startOver();
    void finish(bool learned);

    Services m_services;
    const std::filesystem::path m_profileFile;
    const Stage m_stage;
    AudioRecorder m_recorder;
    std::unique_ptr<HotkeyListener> m_hotkey;
    std::shared_ptr<Spoken> m_spoken; // shared with the worker that builds
    State m_state = State::ready;
    std::optional<BuiltProfile> m_failure; // of the last attempt
    int m_ticks = 0;                       // of holding
    int m_ticksOfSpeech = 0;
    Timer m_timer;
    Changes m_changes;
    Lifetime m_lifetime;
};

} // namespace fenlo
