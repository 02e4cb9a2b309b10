#pragma once

#include "audio/SilenceWatch.h"
#include "audio/TakeBuffer.h"
#include "base/Guarded.h"
#include "base/Lifetime.h"
#include "base/MainQueue.h"
#include "platform/AudioInput.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace fenlo {

class Background;
class Clock;
class Config;
class NotificationCenter;

/// Owns the microphone: keeps one capture engine ready, records takes with it, and decides whether a take held speech.
///
/// With a built-in input the engine runs during takes only. With an external input (headset, USB) it keeps running for
/// a minute after a take, because reconnecting the device would cost the beginning of the next take.
///
/// A whole take stays on the engine on which it began. A take in pieces, which may last for hours, waits for no device:
/// a worker opens its engine, and a device that refuses is tried again. It moves to a new engine when the default input
/// changes; until that one starts, the old one goes on.
///
/// Threads: call on the main thread. onReady and onSilence are called there, onAudioBuffer on the audio thread.
///          currentRMS() and isRecording() may be asked on any thread.
/// Errors:  failures are logged and told by fault(); isRecording() stays false when a take could not start.
class AudioRecorder {
public:
    enum class Rebuild { now, delayed };
    /// Why a take left no files although the user may have spoken.
    enum class Fault { noSoundServer, noInput, refused, noSound, noSpace };

    AudioRecorder(AudioInput& input, Clock& clock, MainQueue& queue, Config& config, NotificationCenter& notifications);
    ~AudioRecorder();
    AudioRecorder(const AudioRecorder&) = delete;
    AudioRecorder& operator=(const AudioRecorder&) = delete;

    /// Makes the engine, and starts and stops it once, so that the first take starts quickly.
    void warmUp();
    /// Follows the default input device from now on. Another call takes the place of the one before.
    void registerDeviceListener();

    /// Gets the engine running ahead of startRecording(), which must follow: what is said in between goes before the
    /// take's first samples, up to 0.3 seconds of it.
    void openMicrophone();
    void startRecording();
    /// Begins a take in pieces and returns at once; sound comes when the microphone is open. It tells neither onReady
    /// nor onSilence nor onFiles: their listeners belong to dictation. The background outlives the recorder.
    void startInPieces(Background& background);
    /// Moves the samples of a take in pieces out of it, without ending it and without waiting for a disk. They come at
    /// the input's own rate, which changes with the device. Nothing while no such take runs.
    TakenSamples takeSamples();
    /// Ends a take at once: no quarter of a second, no files, and the engine stops. What was not taken is lost.
    void endWithoutSpeechTest();
    /// Ends the take. Blocks for a quarter of a second, so that the tail of the last word is in it.
    /// Returns the take's WAV files (mono, 16 kHz, 32-bit float) in order; they are the caller's to delete. Empty when
    /// nothing is worth transcribing.
    std::vector<std::filesystem::path> stopRecording();

    /// What the running take has so far, see TakeBuffer. For those who do not wait for its end.
    std::optional<TakeBuffer::Part> partFrom(std::size_t chunk, std::size_t from) const {
        return m_take.partFrom(chunk, from);
    }
    std::vector<std::filesystem::path> chunkFiles() const { return m_take.chunkFiles(); }

    /// Replaces the engine by a new one, at once or after the sound system has had time to settle.
    void rebuildEngine(Rebuild when);

    /// What went wrong with the last take, or hampers the running one.
    std::optional<Fault> fault() const { return m_fault; }

    bool hasEngine() const { return m_engine != nullptr; }
    bool isRecording() const { return m_take.isRecording(); }
    /// Whether the default input is there and not built in.
    bool isExternalInputActive() const;
    std::optional<std::string> defaultInputDeviceName() const;

    /// The level for display, 0 to 1: raw RMS by 0.15.
    float currentRMS() const { return m_currentRms; }
    /// Share of frames with speech in the last take for which it was measured.
    float speechRatio() const { return m_speechRatio; }

    /// The first samples of a take have arrived.
    void setOnReady(std::function<void()> handler) { m_onReady = std::move(handler); }
    /// Three seconds of quiet in a take; once for each pause.
    void setOnSilence(std::function<void()> handler) { m_onSilence = std::move(handler); }
    /// Told the files that hold the running take except for its last second, whenever they change; on a thread of the
    /// recorder. Set it between takes.
    void setOnFiles(TakeBuffer::FilesHandler handler) { m_take.setOnFiles(std::move(handler)); }
    /// Deletes the file that held the end of the last take while it ran. stopRecording() keeps it until the caller has
    /// noted the final files, so that at every moment some known files hold the take.
    void dropRunningCopy();
    /// Every buffer, whether a take runs or not. The handler must not block.
    void setOnAudioBuffer(std::function<void(std::span<const float>)> handler);

private:
    using BufferHandler = std::function<void(std::span<const float>)>;

    bool runEngine();
    bool startEngine();
    void adopt(std::shared_ptr<CaptureEngine> engine);
    void openForPieces();
    void openedForPieces(const std::shared_ptr<CaptureEngine>& engine, const std::optional<std::string>& error);
    void tryPiecesAgain(const std::string& error);
    void stopEngine();
    void discardEngine();
    void engineAfterTake(bool deviceChanged);
    void scheduleIdleStop();
    void inputDeviceChanged();
    bool passesSpeechTest(std::span<const float> samples, double duration);
    std::uint32_t defaultDeviceId() const;
    Fault startFault() const;

    void receive(std::span<const float> samples); // the tap

    AudioInput& m_input;
    Clock& m_clock;
    MainQueue& m_queue;
    Config& m_config;
    NotificationCenter& m_notifications;

    double m_sampleRate = 44100; // hertz, of the input
    std::optional<std::filesystem::path> m_runningCopy;
    std::uint32_t m_inputDeviceId = 0;
    TakeKind m_takeKind = TakeKind::whole;
    bool m_wasExternal;
    bool m_toldMissingInput = false;
    bool m_toldFailedOpening = false;
    std::optional<double> m_startTime; // seconds of Clock::now()
    float m_speechRatio = 1;
    std::optional<Fault> m_fault;
    std::function<void()> m_onReady;
    std::function<void()> m_onSilence;

    // Used by the audio thread.
    std::atomic<float> m_currentRms = 0;
    std::atomic<unsigned> m_takeNumber = 0;
    Guarded<std::shared_ptr<const BufferHandler>> m_onAudioBuffer;
    Guarded<SilenceWatch> m_silence;
    TakeBuffer m_take;

    Timer m_idleStop;
    Timer m_rebuild;
    Background* m_background = nullptr; // of the take in pieces
    Timer m_openAgain;                  // of the take in pieces
    Lifetime m_lifetime;
    Lifetime m_listening;                       // of the newest registration
    Lifetime m_opening;                         // of the newest opening of a take in pieces
    std::shared_ptr<CaptureEngine> m_inOpening; // with a worker that starts it; null when none is
    std::uint32_t m_openingDevice = 0;
    std::shared_ptr<CaptureEngine> m_engine;
};

} // namespace fenlo
