#pragma once

#include "audio/RunningClip.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "speech/LocalTranscriber.h"

#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <vector>

namespace fenlo {

class AudioRecorder;
class Background;

/// How a take is recognised ahead; see LocalTranscriber. isWanted, begin, finish and forget are called on the main
/// thread, the others on a worker; recognise and recogniseChunk may throw.
struct EarlySteps {
    using Extent = LocalTranscriber::Extent;

    /// Whether there is an engine on this machine that would get the take as it is recorded.
    std::function<bool()> isWanted = [] { return false; };
    /// Whether there is power to spare; takes the priority of the calling thread below the rest. Before each work.
    std::function<bool()> mayWork = [] { return true; };
    std::function<void()> begin = [] {};
    std::function<void()> finish = [] {};
    std::function<void()> forget = [] {};
    /// Recognises the beginning of a chunk, at 16 kHz. Returns where its first window begins that was left out.
    std::function<std::size_t(std::span<const float> samples, Extent, const std::stop_source&)> recognise =
        [](auto&&...) { return 0; };
    std::function<void(const std::filesystem::path& chunk, const std::stop_source&)> recogniseChunk = [](auto&&...) {};
};

/// Has a take recognised while the user still speaks: a chunk when it is cut, a window of the running chunk when it is
/// full, and all that there is at a pause. What comes of it is only taken where the finished take would give the same;
/// here it is decided when to ask.
///
/// Threads: main thread only; one worker at a time. Nothing is done on the audio thread.
class EarlyRecognition {
public:
    EarlyRecognition(AudioRecorder& recorder, MainQueue& mainQueue, Background& background, EarlySteps steps);
    ~EarlyRecognition();
    EarlyRecognition(const EarlyRecognition&) = delete;
    EarlyRecognition& operator=(const EarlyRecognition&) = delete;

    /// The recorder begins a take.
    void begin();
    /// The key went up; the recorder goes on for a moment yet. What is recognised now needs no time later, if that
    /// moment is silent.
    void release();
    /// The recorder has ended the take: nothing new is begun.
    void finish();
    /// The take is dropped, or its words are known: what still runs ends at once, and nothing stays.
    void drop();

private:
    enum class Reason { chunk, window, pause };
    using Work = std::function<std::size_t(const std::stop_source&)>;

    void look();
    void takeIn();
    void giveUpInSpeech();
    std::optional<Reason> due(std::size_t pauseFrames) const;
    void start(Reason reason);
    Work workFor(Reason reason) const;
    void ended(std::size_t nextWindow);

    AudioRecorder& m_recorder;
    MainQueue& m_mainQueue;
    Background& m_background;
    const EarlySteps m_steps;

    std::optional<RunningClip> m_clip; // of the chunk that is being recorded
    std::size_t m_chunk = 0;           // how many were cut before it
    std::size_t m_taken = 0;           // of its samples, at the input's rate
    std::deque<std::filesystem::path> m_cut;
    std::size_t m_nextWindow = 0; // samples of the clip: where the next window begins
    float m_gainOfWindows = 1;    // with which its windows were decoded last
    std::size_t m_pauseEnd = 0;   // frames: what the clip kept of the pause that was recognised last

    struct Run {
        Reason reason;
        unsigned take;
        std::size_t chunk; // which was the running one
        float gain;
        std::stop_source stop = {};
    };
    std::optional<Run> m_run;
    bool m_isTake = false;
    unsigned m_take = 0; // the number of the newest one
    Timer m_look;
    Lifetime m_lifetime;
};

} // namespace fenlo
