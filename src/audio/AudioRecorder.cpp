#include "audio/AudioRecorder.h"

#include "audio/ChunkWriter.h"
#include "audio/Level.h"
#include "audio/SpeechTest.h"
#include "base/AskWorker.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Log.h"
#include "base/NotificationCenter.h"
#include "settings/Config.h"

#include <algorithm>
#include <utility>

namespace fenlo {

namespace {

constexpr std::size_t tapFrames = 4096;
constexpr double missingInputRetry = 0.5; // seconds, like all delays here
constexpr double openRetry = 0.5;         // of a take in pieces
constexpr double settleDelay = 0.3;
constexpr double idleStopDelay = 60.0;
constexpr double tailOfLastWord = 0.25;
constexpr double shortestLiveTake = 0.5; // after which a working microphone has delivered sound

std::string kilobytes(const std::vector<std::filesystem::path>& files) {
    std::uintmax_t total = 0;
    for (const auto& file : files) {
        std::error_code error;
        const std::uintmax_t size = std::filesystem::file_size(file, error);
        total += error ? 0 : size;
    }
    return std::to_string(total / 1024);
}

} // namespace

AudioRecorder::AudioRecorder(AudioInput& input, Clock& clock, MainQueue& queue, Config& config,
                             NotificationCenter& notifications)
    : m_input(input), m_clock(clock), m_queue(queue), m_config(config), m_notifications(notifications),
      m_wasExternal(isExternalInputActive()) {}

AudioRecorder::~AudioRecorder() {
    discardEngine(); // a worker may have it still, and its tap must not call any more
    dropRunningCopy();
}

void AudioRecorder::warmUp() {
    auto engine = m_input.makeEngine();
    const InputFormat format = engine->format();
    if (format.sampleRate <= 0 || format.channels == 0) {
        // This is repeated until there is an input, but logged only once.
        if (!std::exchange(m_toldMissingInput, true))
            logError("Audio engine setup skipped: invalid format (rate={:.0f}, ch={})", format.sampleRate,
                     format.channels);
        m_rebuild = m_queue.postAfter(missingInputRetry, [this] { rebuildEngine(Rebuild::delayed); });
        return;
    }
    m_rebuild.cancel(); // a later rebuild would replace this engine during a take
    m_toldMissingInput = false;
    m_engine.reset();
    m_take.setSampleRate(format.sampleRate);
    adopt(std::move(engine));
    if (const auto error = m_engine->start())
        logInfo("Audio engine warmup skipped for this device: {}", *error);
    stopEngine();
    logInfo("Audio engine prepared at {:.0f}Hz, {}ch, device={}", format.sampleRate, format.channels, m_inputDeviceId);
}

void AudioRecorder::adopt(std::shared_ptr<CaptureEngine> engine) {
    m_sampleRate = engine->format().sampleRate;
    m_inputDeviceId = defaultDeviceId();
    m_engine = std::move(engine);
    m_engine->installTap(tapFrames, [this](std::span<const float> samples) { receive(samples); });
}

void AudioRecorder::registerDeviceListener() {
    m_listening = {};
    m_input.onDefaultDeviceChanged(m_listening.bind([this] { inputDeviceChanged(); }));
}

void AudioRecorder::openMicrophone() {
    runEngine();
}

void AudioRecorder::startRecording() {
    m_fault.reset();
    if (!runEngine()) {
        m_fault = startFault();
        return;
    }
    ++m_takeNumber;
    m_silence.with([](SilenceWatch& watch) { watch = {}; });
    m_takeKind = TakeKind::whole;
    m_take.begin();
    m_startTime = m_clock.now();
    logInfo("Recording at {:.0f}Hz, device={}", m_sampleRate, m_inputDeviceId);
}

/// The take begins before its engine runs, so that it has the first sample.
void AudioRecorder::startInPieces(Background& background) {
    m_background = &background;
    m_fault.reset();
    m_idleStop.cancel();
    m_rebuild.cancel();
    ++m_takeNumber;
    m_silence.with([](SilenceWatch& watch) { watch = {}; });
    m_takeKind = TakeKind::inPieces;
    m_toldFailedOpening = false;
    m_take.begin(TakeKind::inPieces);
    m_startTime = m_clock.now();
    if (!m_engine)
        registerDeviceListener();
    openForPieces();
}

/// A worker starts the engine of the present device. An engine that runs goes on meanwhile, and falls silent before the
/// new one delivers, so no moment is recorded twice.
void AudioRecorder::openForPieces() {
    m_openAgain.cancel();
    const std::uint32_t device = defaultDeviceId();
    const bool isOfDevice = m_engine && (device == 0 || device == m_inputDeviceId);
    if (m_inOpening && device == m_openingDevice)
        return;
    m_opening = {};
    m_inOpening = nullptr;
    if (isOfDevice && m_engine->isRunning())
        return;
    std::shared_ptr<CaptureEngine> engine = isOfDevice && !m_fault ? m_engine : m_input.makeEngine();
    if (engine->format().sampleRate <= 0 || engine->format().channels == 0)
        return tryPiecesAgain("there is no input device");
    if (engine != m_engine && !(m_engine && m_engine->isRunning())) {
        discardEngine();
        m_take.changeSampleRate(engine->format().sampleRate);
        adopt(engine);
    }
    m_inOpening = engine;
    m_openingDevice = device;
    askWorker(
        *m_background, m_queue, m_opening, [engine](const std::stop_token&) { return engine->start(); },
        [this, engine](const std::optional<std::string>& error) { openedForPieces(engine, error); });
}

void AudioRecorder::openedForPieces(const std::shared_ptr<CaptureEngine>& engine,
                                    const std::optional<std::string>& error) {
    m_inOpening = nullptr;
    if (error)
        return tryPiecesAgain(*error);
    m_fault.reset();
    m_toldFailedOpening = false;
    if (engine != m_engine) {
        discardEngine();
        m_take.changeSampleRate(engine->format().sampleRate);
        adopt(engine);
    }
    logInfo("Recording at {:.0f}Hz, device={}", m_sampleRate, m_inputDeviceId);
}

void AudioRecorder::tryPiecesAgain(const std::string& error) {
    if (!std::exchange(m_toldFailedOpening, true))
        logError("The input device does not start, and is tried again: {}", error);
    if (!m_engine || !m_engine->isRunning())
        m_fault = startFault();
    m_openAgain = m_queue.postAfter(openRetry, [this] { openForPieces(); });
}

TakenSamples AudioRecorder::takeSamples() {
    TakenSamples taken = m_take.takeSamples();
    if (taken.samples.empty())
        m_currentRms = 0; // a device that is gone has no level
    return taken;
}

void AudioRecorder::endWithoutSpeechTest() {
    m_openAgain.cancel();
    m_opening = {};
    if (std::exchange(m_inOpening, nullptr) == m_engine)
        discardEngine(); // it is with a worker, who would let it run
    const TakeBuffer::Taken taken = m_take.end();
    for (const auto& file : taken.chunkFiles)
        files::removeQuietly(file);
    m_runningCopy = taken.runningCopy;
    dropRunningCopy();
    if (m_engine)
        stopEngine();
    if (taken.deviceChanged)
        rebuildEngine(Rebuild::delayed);
}

AudioRecorder::Fault AudioRecorder::startFault() const {
    if (!m_input.isConnected())
        return Fault::noSoundServer;
    return m_input.defaultDevice() ? Fault::refused : Fault::noInput;
}

/// Makes sure that an engine runs on the current default device.
bool AudioRecorder::runEngine() {
    m_idleStop.cancel();
    m_toldMissingInput = false;
    const std::uint32_t device = defaultDeviceId();
    if (device != 0 && device != m_inputDeviceId) {
        logInfo("Input device changed since last setup ({} → {}), rebuilding synchronously", m_inputDeviceId, device);
        discardEngine();
        warmUp();
    }
    if (!m_engine) {
        warmUp();
        registerDeviceListener();
    }
    return m_engine && startEngine();
}

bool AudioRecorder::startEngine() {
    if (m_engine->isRunning())
        return true;
    auto error = m_engine->start();
    if (!error)
        return true;
    logError("Audio engine start failed: {}, rebuilding synchronously and retrying", *error);
    discardEngine();
    warmUp();
    if (!m_engine)
        return false;
    error = m_engine->start();
    if (error)
        logError("Audio engine retry start failed: {}", *error);
    return !error;
}

std::vector<std::filesystem::path> AudioRecorder::stopRecording() {
    if (!m_engine) {
        logInfo("Stop called but engine is nil");
        return {};
    }
    const double duration = m_startTime ? m_clock.now() - *m_startTime : 0;
    m_clock.sleep(tailOfLastWord);
    TakeBuffer::Taken taken = m_take.end();
    m_runningCopy = std::move(taken.runningCopy);
    logInfo("Stop: {} samples collected in {:.1f}s, engine.isRunning={}", taken.samples.size(), duration,
            m_engine->isRunning());
    engineAfterTake(taken.deviceChanged);

    if (taken.samples.empty() && duration >= shortestLiveTake && !m_fault)
        m_fault = Fault::noSound;
    std::vector<std::filesystem::path> files = std::move(taken.chunkFiles);
    if (files.empty() && !passesSpeechTest(taken.samples, duration))
        return {};
    if (taken.samples.empty()) {
        logInfo("Stopped with {} flushed chunks, no remaining audio", files.size());
        return files;
    }
    const auto last = writeChunk(taken.samples, m_sampleRate);
    if (!last) {
        m_fault = Fault::noSpace;
        logError("Failed to write the end of the take");
        return files;
    }
    files.push_back(*last);
    logInfo("Saved {:.1f}s audio → {} chunk(s), {}KB total", duration, files.size(), kilobytes(files));
    return files;
}

void AudioRecorder::dropRunningCopy() {
    if (const auto file = std::exchange(m_runningCopy, std::nullopt))
        files::removeQuietly(*file);
}

bool AudioRecorder::passesSpeechTest(std::span<const float> samples, double duration) {
    const SpeechTestResult test = testSpeech(samples, duration);
    if (test.speechRatio)
        m_speechRatio = *test.speechRatio;
    if (!test.logLine.empty())
        logInfo("{}", test.logLine);
    return test.keep;
}

void AudioRecorder::engineAfterTake(bool deviceChanged) {
    const bool external = isExternalInputActive();
    if (external && !deviceChanged) {
        logInfo("External input active — keeping engine running to preserve SCO state (will stop after idle)");
        scheduleIdleStop();
        return;
    }
    stopEngine();
    if (deviceChanged) {
        logInfo("Device changed during recording, rebuilding engine for next use");
        rebuildEngine(Rebuild::delayed);
    }
}

void AudioRecorder::scheduleIdleStop() {
    m_idleStop = m_queue.postAfter(idleStopDelay, [this] {
        if (isRecording() || !m_engine)
            return;
        stopEngine();
        logInfo("Idle window elapsed — engine stopped, orange mic indicator off");
    });
}

void AudioRecorder::rebuildEngine(Rebuild when) {
    const bool settles = m_engine && when == Rebuild::delayed;
    discardEngine();
    if (settles)
        m_rebuild = m_queue.postAfter(settleDelay, [this] { warmUp(); });
    else
        warmUp();
}

/// Samples from before the engine paused must not precede the next take.
void AudioRecorder::stopEngine() {
    m_engine->stop();
    m_take.forgetPreRoll();
}

void AudioRecorder::discardEngine() {
    if (!m_engine)
        return;
    stopEngine();
    m_engine->removeTap();
    m_engine.reset();
}

void AudioRecorder::inputDeviceChanged() {
    const std::uint32_t device = defaultDeviceId();
    if (device == 0 || device == m_inputDeviceId)
        return;
    logInfo("Audio input device changed: {} → {}", m_inputDeviceId, device);
    const bool external = isExternalInputActive();
    if (external && !m_wasExternal && m_config.get().playSounds) {
        // A headset's microphone would record the tones.
        m_config.update([](Settings& settings) { settings.playSounds = false; });
        logInfo("External input connected — auto-disabled Play Sounds");
    }
    m_wasExternal = external;
    m_notifications.post(notification::inputDeviceChanged);
    if (isRecording() && m_takeKind == TakeKind::inPieces)
        openForPieces();
    else if (!m_take.markDeviceChanged())
        rebuildEngine(Rebuild::delayed);
}

bool AudioRecorder::isExternalInputActive() const {
    const auto device = m_input.defaultDevice();
    return device && !device->isBuiltIn;
}

std::optional<std::string> AudioRecorder::defaultInputDeviceName() const {
    const auto device = m_input.defaultDevice();
    return device ? std::optional(device->name) : std::nullopt;
}

std::uint32_t AudioRecorder::defaultDeviceId() const {
    const auto device = m_input.defaultDevice();
    return device ? device->id : 0;
}

void AudioRecorder::setOnAudioBuffer(BufferHandler handler) {
    auto shared = handler ? std::make_shared<const BufferHandler>(std::move(handler)) : nullptr;
    m_onAudioBuffer.with([&](auto& current) { current.swap(shared); });
}

void AudioRecorder::receive(std::span<const float> samples) {
    const float level = rms(samples);
    m_currentRms = displayLevel(level);
    if (const auto handler = m_onAudioBuffer.with([](const auto& current) { return current; }))
        (*handler)(samples);

    const TakeBuffer::Place place = m_take.append(samples);
    if (place == TakeBuffer::Place::beforeTake || place == TakeBuffer::Place::inPieces)
        return;
    // The handlers are looked up on the main thread, where they are set; what one take
    // posts never reaches the handler of the next.
    if (place == TakeBuffer::Place::firstOfTake)
        m_queue.post(m_lifetime.bind([this, take = m_takeNumber.load()] {
            if (m_onReady && take == m_takeNumber)
                m_onReady();
        }));
    if (m_silence.with([&](SilenceWatch& watch) { return watch.hear(level, m_clock.now()); }))
        m_queue.post(m_lifetime.bind([this] {
            if (m_onSilence)
                m_onSilence();
        }));
}

} // namespace fenlo
