#include "WhisperEngine/VoiceActivityDetector/VoiceActivityDetector.h"

#include "WhisperEngine/WhisperError.h"
#include "support/Signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace fenlo::test;
using namespace fenlo::whisper;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

TEST(EnergyVAD, TakesWhatIsAboveTheThreshold) {
    const EnergyVAD vad;
    EXPECT_EQ(vad.frameLengthSamples(), 1600);
    EXPECT_EQ(vad.frameOverlapSamples(), 0);
    EXPECT_THAT(vad.voiceActivity(constant(0.02F, 1600) + constant(0.0201F, 1600) + constant(-0.5F, 1)),
                ElementsAre(false, true, true))
        << "the short last frame counts by its own samples";
    EXPECT_THAT(vad.voiceActivity({}), IsEmpty());
}

TEST(EnergyVAD, FramesOverlap) {
    const EnergyVAD vad(1000, 0.1f, 0.05f);
    EXPECT_THAT(vad.voiceActivity(constant(0, 100) + constant(0.5F, 50) + constant(0, 50)),
                ElementsAre(false, true, true, false));
    EXPECT_THAT(vad.calculateActiveChunks(constant(0, 100) + constant(0.5F, 50) + constant(0, 50)),
                ElementsAre(Pair(50, 200)));
    EXPECT_THROW(EnergyVAD(1000, 0.1f, 0.1f), WhisperError) << "frames would not move on";
    EXPECT_THROW(EnergyVAD(1000, 0), WhisperError);
}

TEST(ActiveChunks, AreRunsHeldToTheAudio) {
    const EnergyVAD vad(1000, 0.1f);
    const auto loud = constant(0.5F, 100);
    const auto quiet = constant(0, 100);
    EXPECT_THAT(vad.calculateActiveChunks(quiet + loud + loud + quiet + constant(0.5F, 30)),
                ElementsAre(Pair(100, 300), Pair(400, 430)));
    EXPECT_THAT(vad.calculateActiveChunks(quiet), IsEmpty());
}

TEST(LongestSilence, IsTheFirstOfEquals) {
    const auto longest = &VoiceActivityDetector::findLongestSilence;
    EXPECT_EQ(longest({}), std::nullopt);
    EXPECT_EQ(longest({true, true}), std::nullopt);
    EXPECT_EQ(longest({false, true, false, false, true, false, false}), std::pair(2, 3));
    EXPECT_EQ(longest({true, false, true, false, false, false}), std::pair(3, 5));
}
