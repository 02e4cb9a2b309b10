// The recorder on a real server: what is said into the microphone is in the file.

#include "AudioWorld.h"
#include "audio/AudioRecorder.h"
#include "base/Background.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/NotificationCenter.h"
#include "media/AudioFile.h"
#include "settings/Config.h"

#include <chrono>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

class RecordingTest : public ::testing::Test {
protected:
    RecordingTest() {
        server.start();
        input.emplace(queue);
        recorder.emplace(*input, clock, queue, config, notifications);
        recorder->registerDeviceListener();
        recorder->warmUp();
    }
    void pass(double seconds) {
        queue.runUntil([end = clock.now() + seconds, this] { return clock.now() > end; });
    }
    /// The only file of the take that ends now.
    std::vector<float> stop() {
        const auto files = recorder->stopRecording();
        EXPECT_EQ(files.size(), 1u);
        if (files.empty())
            return {};
        auto samples = readSoundFile(files[0], ChannelMix::first).mono;
        files::removeQuietly(files[0]);
        return samples;
    }
    /// Seconds with a tone of this frequency, by tenths.
    static double secondsOf(double frequency, std::span<const float> samples) {
        double seconds = 0;
        for (; samples.size() >= 1600; samples = samples.subspan(1600))
            if (std::abs(frequencyOf(samples.first(1600), 16000) - frequency) < 30)
                seconds += 0.1;
        return seconds;
    }

    SystemClock clock;
    PumpedQueue queue;
    ThreadBackground background;
    Config config{std::filesystem::temp_directory_path() / files::makeUuid() / "config.json", clock};
    NotificationCenter notifications;
    SoundServer server;
    std::optional<PulseAudioInput> input;
    std::optional<AudioRecorder> recorder;
};

} // namespace

TEST_F(RecordingTest, ATakeInPieces_GoesOnThroughChangesOfTheDeviceAndOfTheServer) {
    recorder->startInPieces(background);
    double lastRate = 0;
    const auto hears = [&](double frequency) {
        return queue.runUntil([&] {
            const auto [samples, sampleRate] = recorder->takeSamples();
            lastRate = samples.empty() ? lastRate : sampleRate;
            return !samples.empty() && std::abs(frequencyOf(samples, sampleRate) - frequency) < 30;
        });
    };
    server.play(0.5F, 0.5F, 440);
    EXPECT_TRUE(hears(440));
    EXPECT_EQ(lastRate, 48000);

    server.control("load-module module-null-sink sink_name=far rate=16000 norewinds=1");
    server.play(0.5F, 0.5F, 600, "far");
    const std::string headset =
        server.control("load-module module-remap-source master=far.monitor source_name=headset rate=16000 "
                       "source_properties=device.bus=bluetooth");
    server.control("set-default-source headset");
    EXPECT_TRUE(hears(600));
    EXPECT_EQ(lastRate, 16000);
    server.control("unload-module " + headset); // switched off
    server.control("set-default-source virtmic");
    EXPECT_TRUE(hears(440));
    EXPECT_EQ(lastRate, 48000);

    server.kill();
    EXPECT_TRUE(queue.runUntil([&] { return !input->isConnected(); }));
    server.start();
    server.play(0.5F, 0.5F, 800);
    EXPECT_TRUE(hears(800));
    EXPECT_TRUE(recorder->isRecording());
    recorder->endWithoutSpeechTest();
    EXPECT_EQ(server.control("list source-outputs").find("Dictation"), std::string::npos);
}

TEST_F(RecordingTest, HoldsWhatSoundsFromKeyDownOn) {
    PulseAudioOutput voice;
    EXPECT_TRUE(queue.runUntil([&] { // until the output is connected
        voice.play(sine(0.5F, 60, 44100, 440), 44100);
        return server.control("list short sink-inputs").find("float32le") != std::string::npos;
    }));
    bool ready = false;
    recorder->setOnReady([&] { ready = true; });
    const double start = clock.now();
    recorder->openMicrophone();
    const double opened = clock.now() - start;
    pass(0.15); // the focus is read meanwhile
    recorder->startRecording();
    EXPECT_TRUE(queue.runUntil([&] { return ready; }));
    EXPECT_LT(clock.now() - start, 0.5);
    EXPECT_LT(opened, 0.25);
    pass(1);
    const double duration = clock.now() - start;
    const auto samples = stop();
    // The whole hold and the tail of a quarter second, less one unfinished buffer.
    EXPECT_GT(static_cast<double>(samples.size()) / 16000, duration + 0.25 - 0.2);
    EXPECT_GT(secondsOf(440, samples), duration - 0.2);
    EXPECT_TRUE(server.control("list source-outputs").find("Dictation") == std::string::npos);
}
