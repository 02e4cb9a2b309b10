#pragma once

#include "audio/RunningClip.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "speech/LocalTranscriber.h"
#include "speech/Transcription.h"

#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <vector>

namespace fenlo {

class AudioRecorder;
class Background;

/// How a take is recognised ahead; see Transcriber. reach, begin, finish and forget are called on the main thread, the
/// others on a worker; recognise and recogniseChunk may throw.
struct EarlySteps {
    using Extent = LocalTranscriber::Extent;
    using Heard = LocalTranscriber::Heard;

    std::function<EarlyReach()> reach = [] { return EarlyReach::nothing; };
    /// Whether this machine has power to spare; takes the priority of the calling thread below the rest. Before each
    /// work of the engine on it.
    std::function<bool()> mayWork = [] { return true; };
    std::function<void()> begin = [] {};
    std::function<void()> finish = [] {};
    std::function<void()> forget = [] {};
    /// Recognises the beginning of a chunk, at 16 kHz; see LocalTranscriber.
    std::function<Heard(std::span<const float> samples, Extent, const TranscribeRequest& about,
                        const std::stop_source&)>
        recognise = [](auto&&...) { return Heard(); };
    std::function<std::string(const TranscribeRequest& chunk, const std::stop_source&)> recogniseChunk = [](auto&&...) {
        return std::string();
    };
};

/// A take that begins.
struct EarlyTake {
    std::optional<std::string> appName = {}; // id of the focused application
    /// Told all words that are known of it, as they may yet change; only where the take is recognised on this machine.
    std::function<void(const std::string& words)> onWords = {};
};

/// Has a take recognised while the user still speaks: a chunk when it is cut, a window of the running chunk when it is
/// full, and all that there is at a pause; by a service only what was cut. What comes of it is only taken where the
/// finished take would give the same; here it is decided when to ask.
///
/// Threads: main thread only; one worker at a time. Nothing is done on the audio thread.
class EarlyRecognition {
public:
    EarlyRecognition(AudioRecorder& recorder, MainQueue& mainQueue, Background& background, EarlySteps steps);
    ~EarlyRecognition();
    EarlyRecognition(const EarlyRecognition&) = delete;
    EarlyRecognition& operator=(const EarlyRecognition&) = delete;

    /// Whether a take that begins now may have words before its end.
    bool givesWords() const { return m_hasPower && m_steps.reach() == EarlyReach::everything; }
    /// The recorder begins a take.
    void begin(EarlyTake take = {});
    /// The key went up; the recorder goes on for a moment yet. What is recognised now needs no time later, if that
    /// moment is silent.
    void release();
    /// The recorder has ended the take: nothing new is begun.
    void finish();
    /// The take is dropped, or its words are known: what still runs ends at once, and nothing stays.
    void drop();

private:
    enum class Reason { chunk, window, pause };
    using Work = std::function<EarlySteps::Heard(const std::stop_source&)>;
    struct Run {
        Reason reason;
        EarlyReach reach;
        unsigned take;
        std::size_t chunk; // of which it is
        std::size_t end;   // samples of the chunk: what there is of it
        float gain;
        std::stop_source stop = {};
    };
    struct Result {
        EarlySteps::Heard heard = {};
        bool hasFailed = false;
        bool hadPower = true;
    };

    void look();
    void takeIn();
    void giveUpInSpeech();
    std::optional<Reason> due(std::size_t pauseFrames) const;
    void startIfDue(std::size_t pauseFrames);
    void start(Reason reason, EarlyReach reach);
    Work workFor(Reason reason) const;
    Result perform(const Work& work, EarlyReach reach, const std::stop_source& stop) const;
    void ended(const Result& result);
    void addWords(const Run& run, const EarlySteps::Heard& heard);
    TranscribeRequest requestFor(std::size_t chunk) const;

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
    EarlyTake m_about;
    struct Words {
        std::string text;
        std::size_t end = 0; // samples of the chunk: up to where they are
    };
    std::vector<Words> m_words; // of the chunks, as far as they are known
    bool m_hasFailed = false;   // at a chunk: what follows it would be asked with other words before it
    bool m_hasPower = true;     // when this machine was to work last

    std::optional<Run> m_run;
    bool m_isTake = false;
    unsigned m_take = 0; // the number of the newest one
    Timer m_look;
    Lifetime m_lifetime;
};

} // namespace fenlo
