#include "shell/onboarding/VoiceReading.h"
#include "audio/ChunkWriter.h"
#include "base/Files.h"
#include "base/NotificationCenter.h"
#include "platform/KeyCodes.h"
#include "session/HotkeyListener.h"
#include "settings/Config.h"
#include "support/FakeAudio.h"
#include "support/FakeKeyEvents.h"
#include "support/Signals.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <fstream>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace fs = std::filesystem;

namespace {

using State = VoiceReading::State;

class Reading : public ::testing::Test {
protected:
    Reading() { start(VoiceReading::Stage::firstStart); }

    void start(VoiceReading::Stage stage) {
        reading.reset();
        reading = std::make_unique<VoiceReading>(
            VoiceReading::Services{input, clock, queue, background, config, notifications, keys}, file, stage);
        reading->onFinished = [this](bool learned) { finished.push_back(learned); };
    }
    void down() { keys.change(mask::control, key::controlLeft); }
    void up() { keys.change(0, key::controlLeft); }
    /// Hears that level, and nothing new while time passes.
    void pass(double seconds, float level = 0.05F) {
        input.hear(constant(level, 4096)); // a buffer of the recorder's
        queue.advance(seconds);
    }
    void read(std::span<const float> samples) {
        for (; !samples.empty(); samples = samples.subspan(4096)) {
            input.hear(samples.first(4096));
            queue.advance(4096.0 / 16000);
        }
    }
    void work() {
        background.runAll();
        queue.runPosted();
    }
    static std::vector<float> passage() {
        std::vector<float> samples = loadVoiceAudio(VOICE_CLIPS "/man-passage.flac").value();
        samples.resize(samples.size() / 4096 * 4096); // whole buffers
        return samples;
    }
    static std::size_t wavFiles() {
        const fs::directory_iterator all(fs::temp_directory_path());
        return static_cast<std::size_t>(
            std::count_if(begin(all), end(all), [](auto& entry) { return entry.path().extension() == ".wav"; }));
    }

    const TemporaryFolder home;
    const fs::path file = home / ".fenlo" / "voice_profile.json";
    VirtualClock clock;
    VirtualMainQueue queue{clock};
    ManualBackground background;
    Config config{home / "config.json", clock};
    NotificationCenter notifications;
    FakeAudioInput input;
    FakeKeyEvents keys;
    std::vector<bool> finished;
    std::unique_ptr<VoiceReading> reading;
};

} // namespace

TEST_F(Reading, TheTextMovesOnByTheClockAndTheStatusByWhatIsSaid) {
    EXPECT_EQ(reading->status(), "");
    EXPECT_TRUE(VoiceReading::passage().front().starts_with("The morning light filters"));
    EXPECT_EQ(VoiceReading::passage().size(), 20u);
    int changes = 0;
    const auto watch = reading->watch([&] { ++changes; });
    down();
    EXPECT_EQ(reading->status(), "keep reading... 10s");
    pass(1.9);
    EXPECT_EQ(reading->line(), 0u);
    pass(0.1);
    EXPECT_EQ(reading->line(), 1u);
    EXPECT_EQ(reading->status(), "keep reading... 8s");
    pass(3, 0.001F); // a pause in the reading
    EXPECT_DOUBLE_EQ(reading->elapsed(), 5.0);
    EXPECT_DOUBLE_EQ(reading->speech(), 2.0);
    pass(7.9);
    EXPECT_EQ(reading->status(), "keep reading... 1s");
    pass(0.1);
    EXPECT_EQ(reading->status(), "enough captured! release hotkey or keep going");
    pass(60);
    EXPECT_EQ(reading->line(), 19u);
    EXPECT_GT(changes, 30 * 70);
}

TEST_F(Reading, SeveralHoldsMakeOneProfile) {
    const std::size_t filesBefore = wavFiles();
    const std::vector<float> whole = passage();
    const auto first = std::span(whole).first(whole.size() / 2 / 4096 * 4096);
    const auto second = std::span(whole).subspan(first.size());
    down();
    read(first);
    up();
    EXPECT_EQ(reading->state(), State::needsMore);
    EXPECT_EQ(reading->status(), "need a bit more — hold hotkey and keep reading");
    EXPECT_EQ(reading->statusTint()->red, 0.96);
    EXPECT_EQ(background.pending(), 0u);
    const double before = reading->speech();
    EXPECT_GT(before, 2);

    down();
    EXPECT_FALSE(reading->statusTint());
    read(second);
    up();
    EXPECT_EQ(reading->status(), "creating voice profile...");
    reading->keyDown();
    EXPECT_EQ(reading->state(), State::building);
    work();
    EXPECT_EQ(finished, std::vector{true});
    EXPECT_TRUE(config.get().voiceIsolation);
    EXPECT_TRUE(readSettings(home / "config.json").settings.voiceIsolation);
    EXPECT_EQ(wavFiles(), filesBefore);
    const VoiceProfileData made = loadVoiceProfile(file).value();
    const VoiceProfileData expected = measureVoice(whole);
    EXPECT_NEAR(made.pitchMedian, expected.pitchMedian, 0.5) << "a profile of one half alone differs by more";
    EXPECT_NEAR(made.centroidMedian, expected.centroidMedian, 10);
}

TEST_F(Reading, WithoutAVoiceItBeginsAnew) {
    down();
    pass(4.9);
    up();
    EXPECT_EQ(reading->state(), State::needsMore);
    down();
    pass(0.1);
    up();
    EXPECT_EQ(reading->state(), State::building);
    work();
    EXPECT_EQ(reading->status(), "couldn't create profile — try again");
    EXPECT_NE(reading->reason(), "");
    EXPECT_FALSE(fs::exists(file));
    EXPECT_FALSE(config.get().voiceIsolation);
    down();
    EXPECT_EQ(reading->line(), 0u);
    EXPECT_EQ(reading->status(), "keep reading... 10s");
    EXPECT_EQ(reading->reason(), "");
    read(passage());
    up();
    work();
    EXPECT_TRUE(loadVoiceProfile(file)) << "the noise of the first attempt is not in it";
}

TEST_F(Reading, WhatCannotBeSavedIsKeptForTheNextAttempt) {
    std::ofstream(home / ".fenlo") << "in the way";
    down();
    read(passage());
    up();
    work();
    EXPECT_EQ(reading->status(), "couldn't create profile — try again");
    EXPECT_NE(reading->reason().find(file.string()), std::string::npos);
    EXPECT_FALSE(config.get().voiceIsolation);
    fs::remove(home / ".fenlo");
    down();
    pass(0.1);
    up();
    work();
    EXPECT_EQ(finished, std::vector{true});
    EXPECT_NEAR(loadVoiceProfile(file).value().pitchMedian, measureVoice(passage()).pitchMedian, 2);
}

TEST_F(Reading, AMissingMicrophoneIsNamed) {
    input.microphone.device.reset();
    input.microphone.format = {0, 0};
    down();
    EXPECT_EQ(reading->state(), State::failed);
    EXPECT_EQ(reading->reason(), "No microphone");
    up();
    input.microphone.device = InputDevice{7, "Plugged in", true};
    input.microphone.format = {16000, 1};
    down();
    EXPECT_EQ(reading->state(), State::reading);
}

TEST_F(Reading, DictationLosesTheKeyOnlyMeanwhile) {
    HotkeyListener dictation(keys, "ctrl_l");
    int presses = 0;
    dictation.onPress = [&] { ++presses; };
    const auto pause = notifications.observe(notification::hotkeyPause, [&](const auto&) { dictation.stop(); });
    const auto resume = notifications.observe(notification::hotkeyResume, [&](const auto&) { dictation.start(); });
    const auto press = [&] {
        down();
        up();
        return std::exchange(presses, 0);
    };
    reading.reset();
    dictation.start();
    start(VoiceReading::Stage::running);
    EXPECT_EQ(press(), 0);
    reading->skip();
    EXPECT_EQ(finished, std::vector{false});
    EXPECT_EQ(press(), 1);
    reading.reset();
    EXPECT_EQ(press(), 1) << "what has ended lets go once only";

    start(VoiceReading::Stage::running);
    down();
    reading.reset(); // closed in the middle of a hold
    up();
    EXPECT_FALSE(input.microphone.engine && input.microphone.engine->isRunning());
    EXPECT_EQ(press(), 1);
}

TEST_F(Reading, LeavingInTheMiddleClosesTheMicrophone) {
    reading->keyDown(); // by the button
    pass(1);
    reading->skip();
    EXPECT_EQ(finished, std::vector{false});
    EXPECT_FALSE(input.microphone.engine && input.microphone.engine->isRunning());
}

TEST_F(Reading, AProfileBeingBuiltOutlivesItsWindow) {
    down();
    read(passage());
    keys.keyDown(key::x); // another key ends the hold as its release would
    EXPECT_EQ(reading->state(), State::building);
    reading->skip();
    EXPECT_TRUE(finished.empty());
    reading.reset();
    work();
    EXPECT_TRUE(loadVoiceProfile(file));
    EXPECT_TRUE(config.get().voiceIsolation);
    EXPECT_TRUE(finished.empty());
}
