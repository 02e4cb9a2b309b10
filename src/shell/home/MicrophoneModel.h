#pragma once

#include "base/Changes.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "platform/AudioInput.h"
#include "shell/home/Note.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace fenlo {

class Config;
class NotificationCenter;
struct Settings;

/// The microphones, which of them is chosen, and how loud it is now.
///
/// Threads: main thread.
class MicrophoneModel {
public:
    struct Services {
        AudioInput& input; // whose default device is the one that takes are recorded from
        Config& config;
        NotificationCenter& notifications;
        MainQueue& queue;
        /// The level of the take that is being recorded, 0 to 1; nothing while there is none.
        std::function<std::optional<float>()> takeLevel;
    };
    struct Row {
        std::string key; // empty for the desktop's default
        std::string label;
    };

    explicit MicrophoneModel(Services services);
    ~MicrophoneModel();
    MicrophoneModel(const MicrophoneModel&) = delete;
    MicrophoneModel& operator=(const MicrophoneModel&) = delete;

    /// What can be chosen. A chosen device that is not plugged in is among them.
    std::vector<Row> rows() const;
    std::string chosen() const; // a row's key
    /// Counts from the next take on.
    void choose(const std::string& key);
    /// Whether a built-in one takes the place of a wireless headset's, where none is chosen.
    bool prefersBuiltIn() const;
    void preferBuiltIn(bool prefers);
    /// The name of the one that takes are recorded from now; empty for none.
    std::string inUse() const;
    /// What is wrong and what helps; none when all is well.
    Note note() const;

    /// Listens while anyone holds the result, on the device in use. While a take is recorded it is the take's level
    /// that is shown, and this opens nothing beside the take's own recording.
    [[nodiscard]] std::shared_ptr<void> listen();
    float level() const { return m_level; } // 0 to 1, in the scale of the pill

    [[nodiscard]] Changes::Watch watch(std::function<void()> handler) { return m_changes.watch(std::move(handler)); }
    /// About twenty times a second while anyone listens.
    [[nodiscard]] Changes::Watch watchLevel(std::function<void()> handler) {
        return m_levels.watch(std::move(handler));
    }

private:
    struct Heard; // written by the audio thread

    void tick();
    void open();
    void close();
    void showLevel(float level);
    void change(const std::function<void(Settings&)>& edit);
    void setProblem(Note problem);
    bool isChosenAbsent() const;

    const Services m_services;
    std::weak_ptr<void> m_listening;
    std::shared_ptr<Heard> m_heard;
    std::unique_ptr<CaptureEngine> m_engine;
    float m_level = 0;
    int m_silentTicks = 0;
    int m_ticksToRetry = 0;
    Note m_problem; // of the device in use
    Timer m_ticks;
    Changes m_changes;
    Changes m_levels;
    Lifetime m_lifetime;
};

} // namespace fenlo
