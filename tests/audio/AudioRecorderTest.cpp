#include "audio/AudioRecorder.h"
#include "base/Files.h"
#include "base/NotificationCenter.h"
#include "media/AudioFile.h"
#include "settings/Config.h"
#include "support/FakeAudio.h"
#include "support/LogCapture.h"
#include "support/ScarceDisk.h"
#include "support/Signals.h"
#include "support/VirtualTime.h"
#include "support/WaitUntil.h"

#include <future>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace fs = std::filesystem;

namespace {

constexpr double rate = 16000;           // of the fake microphone: samples come back unchanged in the files
constexpr std::size_t bufferSize = 4096; // what the recorder asks its tap for

const InputDevice headset{8, "Headset", false, true, "headset"};

class Recorder : public ::testing::Test {
protected:
    ~Recorder() override {
        for (const fs::path& file : written)
            files::removeQuietly(file);
    }

    /// The microphone hears this while time passes. Samples that do not fill a buffer stay in the device.
    void hear(const std::vector<float>& samples) {
        for (std::size_t done = 0; done < samples.size(); done += 160) {
            const std::size_t count = std::min<std::size_t>(160, samples.size() - done);
            input.hear(std::span(samples).subspan(done, count));
            queue.advance(static_cast<double>(count) / rate);
        }
    }
    /// With the work of the worker that opens the microphone.
    void startInPieces() {
        recorder.startInPieces(background);
        open();
    }
    void open() {
        background.runAll();
        queue.runPosted();
    }
    /// Hears it at once, in whole buffers.
    void hearBuffers(float level, std::size_t count) { input.hear(constant(level, count * bufferSize)); }

    std::vector<fs::path> stop() {
        const auto files = recorder.stopRecording();
        written.insert(written.end(), files.begin(), files.end());
        return files;
    }
    static std::size_t sizeOf(const fs::path& file) { return readSoundFile(file, ChannelMix::first).mono.size(); }
    bool runs() const { return input.microphone.engine && input.microphone.engine->isRunning(); }
    int enginesMade() const { return input.microphone.enginesMade; }

    VirtualClock clock;
    VirtualMainQueue queue{clock};
    ManualBackground background;
    Config config{fs::temp_directory_path() / files::makeUuid() / "config.json", clock};
    NotificationCenter notifications;
    FakeAudioInput input;
    AudioRecorder recorder{input, clock, queue, config, notifications};
    std::vector<fs::path> written;
    LogCapture log;
};

class WarmRecorder : public Recorder {
protected:
    WarmRecorder() {
        recorder.registerDeviceListener();
        recorder.warmUp();
    }
};

} // namespace

TEST_F(Recorder, WarmUp_PrimesTheEngineAndLeavesItStopped) {
    recorder.warmUp();
    EXPECT_TRUE(recorder.hasEngine());
    EXPECT_EQ(input.microphone.starts, 1);
    EXPECT_FALSE(runs());
    input.microphone.startErrors = {"busy"};
    recorder.warmUp();
    EXPECT_TRUE(recorder.hasEngine()) << "a failed first start does not matter";
}

TEST_F(Recorder, WithoutAnInput_WarmUpIsTriedAgainUntilThereIsOne) {
    input.microphone.format = {};
    input.microphone.device.reset();
    recorder.warmUp();
    queue.advance(10);
    EXPECT_FALSE(recorder.hasEngine());
    EXPECT_EQ(enginesMade(), 21) << "every half second";
    EXPECT_EQ(log.lines().size(), 1u) << "but logged once";
    recorder.startRecording();
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_TRUE(stop().empty());
    EXPECT_EQ(log.lines().size(), 3u) << "and again for the take";

    input.microphone.format = {rate, 1};
    input.microphone.device = InputDevice{7, "Microphone", true};
    queue.advance(1);
    EXPECT_TRUE(recorder.hasEngine());
    const int made = enginesMade();
    queue.advance(10);
    EXPECT_EQ(enginesMade(), made) << "no retry is left over";
}

TEST_F(WarmRecorder, Take_IsWrittenAndTheBuiltInMicrophoneIsOff) {
    recorder.startRecording();
    EXPECT_TRUE(recorder.isRecording());
    EXPECT_TRUE(runs());
    hear(sine(0.3F, 1.5, rate));
    EXPECT_NEAR(recorder.currentRMS(), 0.3 / std::sqrt(2) > 0.15 ? 1.0 : 0, 1e-6);
    clock.onSleep = [&](double) { input.hear(sine(0.3F, 0.25, rate)); };
    const auto files = stop();
    ASSERT_EQ(files.size(), 1u);
    // 1.75 seconds of sound are six whole buffers.
    EXPECT_EQ(sizeOf(files[0]), 6 * bufferSize);
    EXPECT_EQ(clock.slept, 0.25);
    EXPECT_FALSE(runs());
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_EQ(recorder.speechRatio(), 1);
}

TEST_F(WarmRecorder, TakeWithoutSpeech_GivesNothing) {
    recorder.startRecording();
    hear(sine(0.3F, 0.25, rate) + constant(0, 4000));
    ASSERT_FALSE(stop().empty());
    const float ratio = recorder.speechRatio();

    recorder.startRecording();
    hear(constant(0, 32000));
    EXPECT_TRUE(stop().empty());
    EXPECT_EQ(recorder.speechRatio(), ratio) << "a silent take leaves the ratio alone";

    recorder.startRecording();
    hear(sine(0.3F, 0.2, rate) + constant(0, 80000));
    EXPECT_TRUE(stop().empty());
    EXPECT_LT(recorder.speechRatio(), 0.15F) << "measured also for a take that is dropped";
}

TEST_F(WarmRecorder, EarlyOpening_PutsTheLastMomentsBeforeTheTake) {
    recorder.openMicrophone();
    EXPECT_TRUE(runs());
    EXPECT_FALSE(recorder.isRecording());
    hearBuffers(0.1F, 1);
    hearBuffers(0.2F, 1);
    const int made = enginesMade();
    recorder.startRecording();
    EXPECT_EQ(enginesMade(), made);
    hearBuffers(0.4F, 2);
    clock.advance(1);
    const auto files = stop();
    ASSERT_EQ(files.size(), 1u);
    const auto samples = readSoundFile(files[0], ChannelMix::first).mono;
    ASSERT_EQ(samples.size(), 4800 + 2 * bufferSize) << "0.3 seconds before";
    const float gain = 0.707F / 0.4F;
    EXPECT_FLOAT_EQ(samples[703], 0.1F * gain);
    EXPECT_FLOAT_EQ(samples[704], 0.2F * gain);
    EXPECT_FLOAT_EQ(samples[4800], 0.4F * gain);
}

TEST_F(WarmRecorder, OnReady_ComesOncePerTakeAtItsFirstBuffer) {
    int ready = 0;
    recorder.setOnReady([&] { ++ready; });
    recorder.openMicrophone();
    hearBuffers(0.1F, 1);
    recorder.startRecording();
    queue.runPosted();
    EXPECT_EQ(ready, 0);
    hearBuffers(0.1F, 3);
    EXPECT_EQ(ready, 0) << "on the main thread only";
    queue.runPosted();
    EXPECT_EQ(ready, 1);

    // A task that one take posted must not report the next.
    stop();
    recorder.startRecording();
    hearBuffers(0.1F, 1);
    stop();
    int late = 0;
    recorder.setOnReady([&] { ++late; });
    recorder.startRecording();
    queue.runPosted();
    EXPECT_EQ(late, 0);
    hearBuffers(0.1F, 1);
    queue.runPosted();
    EXPECT_EQ(late, 1);
}

TEST_F(WarmRecorder, OnSilence_ComesOncePerPauseOfATake) {
    int told = 0;
    recorder.setOnSilence([&] { ++told; });
    recorder.openMicrophone();
    hear(constant(0, 80000));
    EXPECT_EQ(told, 0) << "no take runs";
    recorder.startRecording();
    hear(constant(0, 40000));
    EXPECT_EQ(told, 0);
    hear(constant(0, 56000));
    EXPECT_EQ(told, 1);
    stop();
}

TEST_F(WarmRecorder, OnAudioBuffer_HearsEveryBufferEvenWithoutATake) {
    std::size_t heard = 0;
    recorder.setOnAudioBuffer([&](std::span<const float> samples) { heard += samples.size(); });
    recorder.openMicrophone();
    hearBuffers(0.1F, 2);
    recorder.startRecording();
    hearBuffers(0.1F, 1);
    EXPECT_EQ(heard, 3 * bufferSize);
    recorder.setOnAudioBuffer({});
    hearBuffers(0.1F, 1);
    EXPECT_EQ(heard, 3 * bufferSize);
    stop();
}

TEST_F(WarmRecorder, FailedStart_IsRetriedOnANewEngine) {
    input.microphone.startErrors = {"busy", "", ""};
    recorder.startRecording();
    EXPECT_TRUE(recorder.isRecording());
    EXPECT_EQ(enginesMade(), 2);
    stop();

    input.microphone.startErrors = {"busy", "still", "gone"};
    recorder.startRecording();
    EXPECT_FALSE(recorder.isRecording());
    recorder.startRecording();
    EXPECT_TRUE(recorder.isRecording()) << "the next press finds a device that works again";
    stop();

    const int made = enginesMade();
    input.microphone.device = headset; // without a notification
    recorder.startRecording();
    EXPECT_EQ(enginesMade(), made + 1);
    stop();
}

TEST_F(WarmRecorder, ExternalInput_LingersForAMinute) {
    input.change(headset);
    queue.advance(0.3);
    recorder.startRecording();
    hear(sine(0.2F, 1, rate));
    EXPECT_EQ(stop().size(), 1u);
    EXPECT_TRUE(runs());

    // A take within the minute begins with the words just before it, and delays the stop.
    queue.advance(59);
    hearBuffers(0.2F, 1);
    recorder.startRecording();
    hearBuffers(0.2F, 2);
    queue.advance(60);
    EXPECT_TRUE(runs());
    const auto files = stop();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(sizeOf(files[0]), 3 * bufferSize);

    queue.advance(59.9);
    hearBuffers(0.2F, 1);
    EXPECT_TRUE(runs());
    queue.advance(0.2);
    EXPECT_FALSE(runs());

    // Samples from before the engine stopped do not precede a much later take.
    recorder.startRecording();
    hearBuffers(0.2F, 2);
    clock.advance(1);
    const auto later = stop();
    ASSERT_EQ(later.size(), 1u);
    EXPECT_EQ(sizeOf(later[0]), 2 * bufferSize);
}

TEST_F(WarmRecorder, DeviceChange_RebuildsAfterItSettled) {
    int told = 0;
    const auto observation = notifications.observe(notification::inputDeviceChanged, [&](const auto& object) {
        ++told;
        EXPECT_FALSE(object);
    });
    input.change(input.microphone.device); // the same device
    input.change({});                      // no device
    EXPECT_EQ(told, 0);
    input.change(headset);
    EXPECT_EQ(told, 1);
    EXPECT_FALSE(recorder.hasEngine());
    queue.advance(0.29);
    EXPECT_FALSE(recorder.hasEngine());
    queue.advance(0.02);
    EXPECT_TRUE(recorder.hasEngine());
    EXPECT_TRUE(recorder.isExternalInputActive());
    EXPECT_EQ(recorder.defaultInputDeviceName(), "Headset");
}

TEST_F(Recorder, StartsThatAreRepeatedWithoutAnInput_HearOfADeviceOnce) {
    input.microphone.format = {};
    input.microphone.device.reset();
    for (int attempt = 0; attempt < 100; ++attempt) {
        startInPieces();
        queue.advance(10);
    }
    int told = 0;
    const auto observation = notifications.observe(notification::inputDeviceChanged, [&](const auto&) { ++told; });
    input.microphone.format = {rate, 1};
    input.change(headset);
    EXPECT_EQ(told, 1);
    queue.advance(1);
    startInPieces();
    hearBuffers(0.1F, 1);
    EXPECT_EQ(recorder.takeSamples().samples.size(), bufferSize);
}

TEST_F(WarmRecorder, TakeBeforeTheDeviceSettled_KeepsItsOwnEngine) {
    input.change(headset);
    recorder.startRecording();
    const int made = enginesMade();
    hear(sine(0.2F, 1, rate));
    EXPECT_EQ(enginesMade(), made) << "the late warm-up must not end the take";
    EXPECT_EQ(stop().size(), 1u);
}

TEST_F(WarmRecorder, DeviceChangeInMidTake_WaitsForItsEnd) {
    recorder.startRecording();
    hear(sine(0.2F, 1, rate));
    const int made = enginesMade();
    input.change(headset);
    queue.advance(1);
    EXPECT_EQ(enginesMade(), made);
    hear(sine(0.2F, 1, rate));
    const auto files = stop();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(sizeOf(files[0]), 7 * bufferSize);
    queue.advance(0.3);
    EXPECT_EQ(enginesMade(), made + 1);
    EXPECT_FALSE(runs()) << "the engine of the old device stops";
}

TEST_F(WarmRecorder, Headset_TurnsTheTonesOffForGood) {
    ASSERT_TRUE(config.get().playSounds);
    input.change(headset);
    EXPECT_FALSE(config.get().playSounds);
    queue.advance(1);
    input.change(InputDevice{7, "Built-in", true});
    queue.advance(1);
    EXPECT_FALSE(config.get().playSounds);

    // A user who turns the tones on with a headset keeps them with the next one.
    input.change(headset);
    queue.advance(1);
    config.update([](Settings& settings) { settings.playSounds = true; });
    input.change(InputDevice{9, "Other headset", false});
    EXPECT_TRUE(config.get().playSounds);
}

TEST_F(WarmRecorder, ATakeThatRunsIsOnTheDiskButForItsLastSecond) {
    std::promise<std::vector<fs::path>> told;
    recorder.setOnFiles([&](const auto& files) { told.set_value(files); });
    recorder.startRecording();
    hearBuffers(0.1F, 10);
    const std::vector<fs::path> running = told.get_future().get();
    ASSERT_EQ(running.size(), 1u);
    EXPECT_EQ(fs::status(running[0]).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    const std::vector<float> copied = readSoundFile(running[0], ChannelMix::first).mono;
    EXPECT_GE(copied.size(), 16000u) << "the file can be played while it grows";
    EXPECT_EQ(copied, constant(0.1F, copied.size()));

    clock.advance(3);
    EXPECT_EQ(stop().size(), 1u);
    EXPECT_TRUE(fs::exists(running[0])) << "until the new file is noted";
    recorder.dropRunningCopy();
    EXPECT_FALSE(fs::exists(running[0]));
}

TEST_F(WarmRecorder, TakeInPieces_IsHandedOutWhileItRunsAndEndsAtOnce) {
    bool disturbed = false;
    recorder.setOnReady([&] { disturbed = true; });
    recorder.setOnSilence([&] { disturbed = true; });
    recorder.setOnFiles([&](const auto&) { disturbed = true; });
    startInPieces();
    hearBuffers(0.1F, 10);
    const TakenSamples first = recorder.takeSamples();
    EXPECT_EQ(first.samples, constant(0.1F, 10 * bufferSize));
    EXPECT_EQ(first.sampleRate, rate);
    EXPECT_GT(recorder.currentRMS(), 0.5F);
    EXPECT_TRUE(recorder.takeSamples().samples.empty());
    EXPECT_EQ(recorder.currentRMS(), 0);
    hear(constant(0, 5 * 16000));
    EXPECT_EQ(recorder.takeSamples().samples.size(), 19 * bufferSize) << "silence too";

    hearBuffers(0.2F, 3);
    recorder.endWithoutSpeechTest();
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_FALSE(runs());
    EXPECT_EQ(clock.slept, 0);
    EXPECT_TRUE(recorder.takeSamples().samples.empty());
    queue.runPosted();
    EXPECT_FALSE(disturbed);

    recorder.startRecording();
    hear(sine(0.3F, 1.5, rate));
    EXPECT_TRUE(recorder.takeSamples().samples.empty()) << "those of a dictation stay in it";
    const auto files = stop();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(sizeOf(files[0]), 5 * bufferSize) << "and nothing of the take before";
}

TEST_F(WarmRecorder, WholeTakeEndedWithoutTheSpeechTest_LeavesNoFile) {
    std::vector<fs::path> running;
    recorder.setOnFiles([&](const auto& files) { running = files; });
    recorder.startRecording();
    hearBuffers(0.2F, 938);
    ASSERT_TRUE(waitUntil(60, [&] { return log.containsPrefix("[Fenlo] Flushed chunk 1"); }));
    hearBuffers(0.2F, 10);
    input.change(headset);
    recorder.endWithoutSpeechTest();
    ASSERT_FALSE(running.empty());
    for (const fs::path& file : running)
        EXPECT_FALSE(fs::exists(file)) << file;
    queue.advance(0.3);
    EXPECT_TRUE(recorder.hasEngine());
    EXPECT_EQ(recorder.defaultInputDeviceName(), "Headset");
}

TEST_F(WarmRecorder, TakeInPieces_MovesToTheNewDeviceWithoutALoss) {
    startInPieces();
    hearBuffers(0.25F, 2);
    FakeCaptureEngine* const old = input.microphone.engine;
    input.microphone.format = {48000, 2};
    input.change(headset);
    old->hear(constant(0.25F, bufferSize)); // while the new one is being opened
    open();
    EXPECT_TRUE(runs());
    hearBuffers(0.5F, 3);
    const TakenSamples taken = recorder.takeSamples();
    EXPECT_EQ(taken.sampleRate, 48000);
    EXPECT_EQ(taken.samples, constant(0.25F, 9 * bufferSize) + constant(0.5F, 3 * bufferSize));
    recorder.endWithoutSpeechTest();
    const int made = enginesMade();
    queue.advance(10);
    recorder.startRecording();
    EXPECT_EQ(enginesMade(), made) << "the engine is that of the new device already";
    stop();
}

TEST_F(WarmRecorder, TakeInPieces_StaysWhereItIsUntilTheNewDeviceStarts) {
    startInPieces();
    FakeCaptureEngine* const old = input.microphone.engine;
    input.change({}); // unplugged; the engine itself waits for its device
    EXPECT_TRUE(old->isRunning());
    input.microphone.startErrors = {"busy", "busy", ""};
    input.change(headset);
    open();
    queue.advance(0.6);
    open();
    old->hear(constant(0.1F, bufferSize));
    EXPECT_TRUE(recorder.isRecording());
    EXPECT_FALSE(recorder.fault());
    queue.advance(0.5);
    open();
    hearBuffers(0.2F, 1);
    EXPECT_EQ(recorder.takeSamples().samples, constant(0.1F, bufferSize) + constant(0.2F, bufferSize));
    const auto lines = log.lines();
    EXPECT_EQ(std::ranges::count_if(lines, [](const auto& line) { return line.find("busy") != line.npos; }), 1);

    const int made = enginesMade();
    input.change(InputDevice{9, "Another headset", false, false, "another"});
    input.change(headset);
    open();
    queue.advance(2);
    open();
    EXPECT_EQ(enginesMade(), made + 1) << "nothing to move to any more";
    input.change(InputDevice{9, "Another headset", false, false, "another"});
    recorder.endWithoutSpeechTest();
    open();
    queue.advance(2);
    EXPECT_FALSE(input.microphone.engine && runs());
}

TEST_F(WarmRecorder, TakeInPieces_DoesNotWaitForAHungSoundServer) {
    input.microphone.whileStarting = [&] { clock.sleep(0.5); };
    input.microphone.startErrors = {"hangs", "hangs", "", ""};
    recorder.startInPieces(background);
    EXPECT_EQ(clock.slept, 0) << "the main thread went on";
    EXPECT_TRUE(recorder.isRecording());
    open();
    EXPECT_EQ(recorder.fault(), AudioRecorder::Fault::refused);
    for (int retry = 0; retry < 2; ++retry) {
        const double before = clock.slept;
        queue.advance(0.6);
        EXPECT_EQ(clock.slept, before);
        // What a device delivers before the main thread has noticed that it is open is in the take.
        input.microphone.whileStarting = [&] { clock.sleep(0.5); };
        background.runAll();
        hearBuffers(0.1F, 1);
        queue.runPosted();
    }
    EXPECT_FALSE(recorder.fault());
    EXPECT_EQ(recorder.takeSamples().samples, constant(0.1F, bufferSize));
    recorder.endWithoutSpeechTest();

    recorder.startInPieces(background);
    recorder.endWithoutSpeechTest(); // while a worker still opens it
    open();
    EXPECT_FALSE(input.microphone.engine && runs()) << "nobody holds the microphone open";
    recorder.startRecording();
    EXPECT_TRUE(runs());
    stop();
}

TEST_F(WarmRecorder, LongTake_IsCutAtItsLastQuietSpot) {
    recorder.startRecording();
    // 240 seconds fill the chunk at the 938th buffer; within its last ten seconds, one second is quiet.
    hearBuffers(0.2F, 910);
    hearBuffers(0, 4);
    hearBuffers(0.3F, 28);
    clock.advance(241);
    const auto files = stop();
    ASSERT_EQ(files.size(), 2u);
    const std::size_t searchStart = 938 * bufferSize - 160000;
    const std::size_t quietEnd = 914 * bufferSize;
    const std::size_t cut = searchStart + (quietEnd - searchStart) / 1024 * 1024;
    EXPECT_EQ(sizeOf(files[0]), cut);
    EXPECT_EQ(sizeOf(files[1]), 942 * bufferSize - cut);
}

TEST_F(WarmRecorder, LongTakeWithoutAPause_IsCutWhereItStands) {
    recorder.startRecording();
    hearBuffers(0.2F, 938);
    clock.advance(240);
    const auto files = stop();
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(sizeOf(files[0]), 938 * bufferSize);

    recorder.startRecording();
    hearBuffers(0.2F, 938);
    hearBuffers(0, 10);
    EXPECT_EQ(stop().size(), 2u) << "the rest of a long take is kept even if it is silent";
}

TEST_F(WarmRecorder, ChunkThatCannotBeWritten_StaysInMemory) {
    recorder.startRecording();
    {
        const ScarceDisk scarce(100000);
        hearBuffers(0.2F, 938);
        ASSERT_TRUE(waitUntil(60, [&] { return log.contains("[Fenlo] ERROR: Failed to write chunk 1"); }));
    }
    ASSERT_TRUE(waitUntil(60, [&] {
        hearBuffers(0.2F, 1); // the next buffer tries again
        return log.containsPrefix("[Fenlo] Flushed chunk 1");
    }));
    const auto files = stop();
    ASSERT_FALSE(files.empty());
    EXPECT_GE(sizeOf(files[0]), 939 * bufferSize) << "nothing of the first attempt is lost";
}

TEST_F(WarmRecorder, LastPartThatCannotBeWritten_LeavesTheChunksBeforeIt) {
    recorder.startRecording();
    hearBuffers(0.2F, 938);
    ASSERT_TRUE(waitUntil(60, [&] { return log.containsPrefix("[Fenlo] Flushed chunk 1"); }));
    hearBuffers(0.2F, 20);
    const ScarceDisk scarce(100000);
    EXPECT_EQ(stop().size(), 1u);
}

TEST_F(Recorder, LinesOfTheLog) {
    input.microphone.format = {};
    recorder.startRecording();
    stop();
    input.microphone.format = {rate, 1};
    input.microphone.startErrors = {"busy"};
    recorder.warmUp();
    recorder.registerDeviceListener();
    recorder.startRecording();
    hear(sine(0.3F, 1.5, rate));
    clock.onSleep = [&](double) { input.hear(sine(0.3F, 0.25, rate)); };
    stop();
    clock.onSleep = {};
    input.microphone.startErrors = {"busy", "still", "gone"};
    recorder.startRecording();
    recorder.startRecording();
    hear(constant(0, 32000));
    stop();
    input.microphone.device = headset;
    recorder.startRecording();
    hearBuffers(0.2F, 938);
    input.change(InputDevice{9, "Another headset", false});
    stop();
    input.change(headset);
    queue.advance(1);
    recorder.startRecording();
    stop();
    queue.advance(61);
    for (const std::string line :
         {"ERROR: Audio engine setup skipped: invalid format (rate=0, ch=0)", "Stop called but engine is nil",
          "Audio engine warmup skipped for this device: busy", "Audio engine prepared at 16000Hz, 1ch, device=7",
          "Recording at 16000Hz, device=7", "Stop: 24576 samples collected in 1.5s, engine.isRunning=true",
          "Saved 1.5s audio → 1 chunk(s), 96KB total",
          "ERROR: Audio engine start failed: busy, rebuilding synchronously and retrying",
          "ERROR: Audio engine retry start failed: gone", "Recording was silent (rms=0.0000), skipping",
          "Input device changed since last setup (7 → 8), rebuilding synchronously",
          "Flushed chunk 1 → 15008KB WAV (0 samples carried over)", "Stopped with 1 flushed chunks, no remaining audio",
          "Audio input device changed: 8 → 9", "External input connected — auto-disabled Play Sounds",
          "Device changed during recording, rebuilding engine for next use",
          "External input active — keeping engine running to preserve SCO state (will stop after idle)",
          "Idle window elapsed — engine stopped, orange mic indicator off"})
        EXPECT_TRUE(log.contains("[Fenlo] " + line)) << line;
}
