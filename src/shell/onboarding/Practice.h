#pragma once

#include "audio/AudioRecorder.h"
#include "audio/RecordingServices.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "shell/onboarding/OnboardingState.h"
#include "speech/Transcription.h"

#include <cstddef>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

class HotkeyListener;
class KeyEvents;
class OverlayWindow;
class TonePlayer;

/// The first try of the hotkey: a real take by a recorder of its own, with the real pill and tones, whose words are
/// shown on the screen. Hears the hotkey between begin() and end() only.
///
/// Threads: main thread only; what was said is recognised on a worker.
/// Errors:  status() says what went wrong, reason() why; the next press tries again.
class Practice {
public:
    /// All outlive it.
    struct Services {
        RecordingServices recording;
        KeyEvents& keys;
        TonePlayer& tones;
        OverlayWindow& overlay;
    };
    /// What the take meets beside the machine.
    struct Steps {
        /// Makes the recogniser ready; on a worker.
        std::function<void(std::stop_token)> prepare;
        /// As that of a dictation; throws.
        std::function<std::string(const TranscribeRequest&, std::stop_token)> transcribe;
        /// A random number below `count`.
        std::function<std::size_t(std::size_t count)> draw;
    };

    Practice(Services services, Steps steps, OnboardingState& state);
    ~Practice();
    Practice(const Practice&) = delete;
    Practice& operator=(const Practice&) = delete;

    void begin();
    /// Drops a take that is under way.
    void end();

    /// As the hotkey does.
    void keyDown();
    void keyUp();

    /// What the user should know now; empty before the first press.
    const std::string& status() const { return m_status; }
    /// More about what went wrong; mostly empty.
    const std::string& reason() const { return m_reason; }
    float level() const; // of the microphone, 0 to 1

private:
    struct Words {
        std::string text;
        std::string fault; // a line for the user; empty when there was none
    };

    void chord();
    void recorderBecameReady();
    void recognise(std::vector<std::filesystem::path> chunks, double duration);
    static Words wordsOf(const std::vector<std::filesystem::path>& chunks, TranscribeRequest request,
                         const Steps& steps, std::stop_token stop);
    void show(const Words& words);
    void become(PracticeState state, std::string status, std::string reason = {});

    Services m_services;
    const Steps m_steps;
    OnboardingState& m_state;
    AudioRecorder m_recorder;
    std::unique_ptr<HotkeyListener> m_hotkey;
    std::shared_future<void> m_prepared;
    std::optional<double> m_recordStart; // seconds of Clock::now()
    unsigned m_take = 0;                 // counts, so that the words of a dropped take are not shown
    std::string m_status, m_reason;
    Timer m_levelTimer;
    Lifetime m_lifetime;
};

} // namespace fenlo
