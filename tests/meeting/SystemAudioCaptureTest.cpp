#include "meeting/SystemAudioCapture.h"

#include "audio/OwnSounds.h"
#include "support/FakeAudio.h"
#include "support/FakeSystemAudio.h"
#include "support/LogCapture.h"
#include "support/Signals.h"
#include "support/VirtualTime.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

class SystemCapture : public ::testing::Test {
protected:
    FakeSystemAudio computer;
    SystemAudioCapture capture{computer};
    LogCapture log;
};

} // namespace

TEST_F(SystemCapture, WhatIsPlayed_IsTakenOnce) {
    EXPECT_FALSE(capture.start());
    EXPECT_FALSE(capture.start());
    EXPECT_EQ(computer.opened, 1);
    EXPECT_TRUE(capture.isCapturing());
    computer.hear(constant(0, 100));
    computer.hear(constant(0.015F, 100));
    EXPECT_NEAR(capture.currentRMS(), 0.1, 1e-3);
    computer.hear(constant(0, 50));
    EXPECT_EQ(capture.currentRMS(), 0);
    EXPECT_EQ(capture.take(), constant(0, 100) + constant(0.015F, 100) + constant(0, 50));
    computer.hear(constant(0, 100));
    EXPECT_TRUE(capture.take().empty()) << "nothing played";
    computer.hear(constant(0.5F, 10));
    EXPECT_EQ(capture.take().size(), 10u);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"[Fenlo] System audio capture started"});
}

TEST_F(SystemCapture, Stop_ForgetsWhatWasNotTaken) {
    capture.stop();
    EXPECT_TRUE(log.lines().empty());
    EXPECT_FALSE(capture.start());
    computer.hear(constant(0.5F, 100));
    capture.stop();
    EXPECT_TRUE(capture.take().empty());
    EXPECT_EQ(capture.currentRMS(), 0);
    EXPECT_FALSE(computer.isOpen());
    EXPECT_FALSE(capture.isCapturing());
    EXPECT_EQ(log.lines().back(), "[Fenlo] System audio capture stopped");
}

TEST_F(SystemCapture, RefusedStart_TellsWhyAndCanBeRepeated) {
    computer.error = "there is no connection to the sound server";
    EXPECT_EQ(capture.start(), computer.error);
    EXPECT_FALSE(capture.isCapturing());
    computer.error.clear();
    EXPECT_FALSE(capture.start());
    EXPECT_TRUE(capture.isCapturing());
}

TEST_F(SystemCapture, StopWhileStarting_LeavesNoCapture) {
    computer.whileOpening = [&] {
        EXPECT_FALSE(capture.start()) << "one at a time";
        capture.stop();
    };
    EXPECT_FALSE(capture.start());
    EXPECT_FALSE(computer.isOpen());
    EXPECT_FALSE(capture.isCapturing());
    computer.error = "too late to matter";
    EXPECT_FALSE(capture.start());
    EXPECT_TRUE(log.lines().empty());
}

TEST(OwnSounds, AreLeftOutOfWhatTheComputerPlays) {
    VirtualClock clock;
    FakeAudioOutput speaker;
    OwnSounds tones(speaker, clock);
    FakeSystemAudio computer;
    WithoutOwnSounds cleaned(computer, tones);
    SystemAudioCapture capture(cleaned);
    EXPECT_FALSE(capture.start());
    const auto isHeard = [&] {
        computer.hear(constant(0.5F, 480));
        return !capture.take().empty();
    };
    EXPECT_TRUE(isHeard());
    tones.play(constant(0.2F, 44100), 44100); // one second
    ASSERT_EQ(speaker.played.size(), 1u);
    EXPECT_FALSE(isHeard());
    clock.advance(1.2);
    EXPECT_FALSE(isHeard()) << "its end is still on the way";
    clock.advance(0.4);
    EXPECT_TRUE(isHeard());

    tones.play(constant(0.2F, 441000), 44100);
    clock.advance(1);
    tones.stop();
    EXPECT_FALSE(speaker.current);
    EXPECT_FALSE(isHeard());
    computer.hear(constant(0.5F, 480));
    clock.advance(0.6);
    computer.hear(constant(0.5F, 480));
    EXPECT_EQ(capture.take(), constant(0, 480) + constant(0.5F, 480)) << "silence of the same length";
    tones.stop();
    EXPECT_TRUE(isHeard()) << "nothing was cut off";
}
