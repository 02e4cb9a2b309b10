#pragma once

#include "audio/RecordingServices.h"
#include "audio/voice/VoiceMatch.h"
#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace fenlo {

class AudioRecorder;

/// What the settings show of the voice profile, how well it works, and its removal. VoiceReading makes it.
///
/// Threads: main thread only; a recording is compared with the profile on a worker.
/// Errors:  message() says what failed.
class VoiceProfileModel {
public:
    enum class State { none, damaged, ready };
    /// Somebody speaks for a few seconds, and it is shown how much of it the profile would keep.
    enum class Trial { none, listening, comparing, done };

    VoiceProfileModel(RecordingServices services, std::filesystem::path profileFile);
    ~VoiceProfileModel();
    VoiceProfileModel(const VoiceProfileModel&) = delete;
    VoiceProfileModel& operator=(const VoiceProfileModel&) = delete;

    /// Reads the file anew, as after a reading.
    void refresh();

    State state() const { return m_state; }
    /// "A low voice of about 102 Hz, mostly 94 to 116 Hz"; or why there is none.
    std::string description() const;
    /// "Made Nov 15, 2026, 9:30 AM"; empty without one.
    std::string made() const;
    /// What it can and cannot tell apart; empty without one.
    std::string limits() const;
    /// The caption of what begins a reading.
    std::string makeCaption() const;

    bool isolation() const;
    void setIsolation(bool on);

    struct Question {
        std::string title, text, verb;
    };
    static Question removalQuestion();
    /// Also turns voice isolation off. What failed is told by message().
    void remove();
    std::string message() const { return m_message; }

    /// Listens for trialLength seconds.
    void startTrial();
    void cancelTrial();
    Trial trial() const { return m_trial; }
    double trialProgress() const; // 0 to 1
    float level() const;          // 0 to 1
    /// What is going on, or what came of it.
    std::string trialText() const;

    static constexpr double trialLength = 5; // seconds

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }

private:
    void tick();
    void compare();
    void become(Trial trial);

    RecordingServices m_services;
    const std::filesystem::path m_profileFile;
    State m_state = State::none;
    VoiceProfileData m_profile; // when it is ready
    std::string m_message;
    Trial m_trial = Trial::none;
    std::unique_ptr<AudioRecorder> m_recorder; // of the trial
    std::string m_trialFault;
    std::optional<KeptShare> m_share; // of the last trial
    int m_ticks = 0;
    Timer m_timer;
    Changes m_changes;
    Lifetime m_lifetime;
};

} // namespace fenlo
