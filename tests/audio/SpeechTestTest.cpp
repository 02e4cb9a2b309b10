#include "audio/SpeechTest.h"
#include "audio/Level.h"
#include "audio/QuietCut.h"
#include "audio/SilenceWatch.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

/// A hundred frames: `percent` of them at `loud`, the rest at zero.
std::vector<float> share(int percent, float loud) {
    return constant(loud, levelFrame * static_cast<std::size_t>(percent)) +
           constant(0, levelFrame * static_cast<std::size_t>(100 - percent));
}

} // namespace

TEST(Level, OfAConstantSignalIsExact) {
    for (const std::size_t count : {1u, 3u, 1024u, 1367u, 240003u})
        EXPECT_EQ(rms(constant(-0.001F, count)), 0.001F) << count;
    EXPECT_EQ(rms({}), 0);
    EXPECT_EQ(peak({}), 0);
    EXPECT_EQ(peak(std::vector{0.1F, -0.4F, 0.3F}), 0.4F);
}

TEST(SpeechTest, TooShortTake_IsDroppedWithoutALine) {
    const auto take = constant(0.1F, 16000);
    EXPECT_FALSE(testSpeech(take, 0.29).keep);
    EXPECT_EQ(testSpeech(take, 0.29).logLine, "");
    EXPECT_TRUE(testSpeech(take, 0.3).keep);
    EXPECT_FALSE(testSpeech({}, 5).keep);
    EXPECT_EQ(testSpeech({}, 5).logLine, "");
}

TEST(SpeechTest, SilentTake_IsDroppedWithoutARatio) {
    const SpeechTestResult result = testSpeech(constant(0, 16000), 1);
    EXPECT_FALSE(result.keep);
    EXPECT_FALSE(result.speechRatio);
    EXPECT_EQ(result.logLine, "Recording was silent (rms=0.0000), skipping");
}

TEST(SpeechTest, LevelOfExactlyTheThreshold_IsNeitherSilentNorSpeech) {
    const SpeechTestResult result = testSpeech(constant(0.001F, 4 * levelFrame), 1);
    EXPECT_EQ(result.speechRatio, 0);
    EXPECT_EQ(result.logLine, "Only 0% speech frames, skipping");
}

TEST(SpeechTest, LessThanAFrame_IsKeptWithoutARatio) {
    const SpeechTestResult result = testSpeech(constant(0.01F, levelFrame - 1), 1);
    EXPECT_TRUE(result.keep);
    EXPECT_FALSE(result.speechRatio);
}

TEST(SpeechTest, ShareOfSpeechFrames_DecidesWithTheLoudness) {
    // The RMS of the whole take is the loud frames' level times the root of their share.
    const SpeechTestResult tooFew = testSpeech(share(14, 0.5F), 5);
    EXPECT_FALSE(tooFew.keep);
    EXPECT_FLOAT_EQ(tooFew.speechRatio.value(), 0.14F);
    EXPECT_EQ(tooFew.logLine, "Only 14% speech frames, skipping");
    EXPECT_TRUE(testSpeech(share(15, 0.5F), 5).keep);

    EXPECT_TRUE(testSpeech(share(20, 0.0068F), 5).keep);
    const SpeechTestResult quiet = testSpeech(share(20, 0.0066F), 5);
    EXPECT_FALSE(quiet.keep);
    EXPECT_EQ(quiet.logLine, "Low speech (20%) + quiet (rms=0.0030), skipping");
    EXPECT_TRUE(testSpeech(share(25, 0.0022F), 5).keep);
}

TEST(SpeechTest, IncompleteTail_CountsForNoFrame) {
    const auto take = constant(0.1F, levelFrame) + constant(0, levelFrame) + constant(0.1F, levelFrame - 1);
    EXPECT_EQ(testSpeech(take, 1).speechRatio, 0.5F);
}

TEST(QuietCut, FallsAtTheEndOfTheLatestQuietFrame) {
    constexpr double rate = 1024; // a frame is a second
    const auto loud = [](std::size_t frames) { return constant(0.1F, frames * levelFrame); };
    const auto quiet = constant(0, levelFrame);
    const auto cut = [](const std::vector<float>& samples) { return quietCut(samples, rate, WithoutQuiet::atEnd); };
    EXPECT_EQ(cut(loud(5) + quiet + loud(3) + quiet + loud(2)), 10 * levelFrame);
    EXPECT_EQ(cut(loud(12)), 12 * levelFrame) << "no frame is quiet";
    EXPECT_EQ(cut(quiet + loud(10)), 11 * levelFrame) << "only the last ten seconds are searched";
    EXPECT_EQ(cut(loud(1) + quiet + loud(9)), 2 * levelFrame);
    EXPECT_EQ(cut(constant(0, levelFrame - 1)), levelFrame - 1) << "less than a frame";
    // Frames are counted from where the search starts.
    EXPECT_EQ(cut(loud(2) + quiet + constant(0.1F, 300)), 3 * levelFrame);
    EXPECT_EQ(cut({}), 0u);
}

TEST(QuietCut, WithoutQuietFallsIntoAPauseAboveTheNoise) {
    constexpr double rate = 16000;
    const auto noisy = [](float level, double seconds) {
        return constant(level, static_cast<std::size_t>(seconds * rate));
    };
    const auto samples = noisy(0.1F, 230) + noisy(0.01F, 0.3) + noisy(0.1F, 6) + noisy(0.02F, 0.4) + noisy(0.1F, 2);
    const std::size_t cut = quietCut(samples, rate, WithoutQuiet::atPause);
    EXPECT_GT(cut, static_cast<std::size_t>(230.05 * rate));
    EXPECT_LT(cut, static_cast<std::size_t>(230.25 * rate));
    EXPECT_EQ(quietCut(samples, rate, WithoutQuiet::atEnd), samples.size());
    const auto hum = noisy(0.1F, 100) + noisy(0.08F, 0.3) + noisy(0.1F, 3);
    EXPECT_EQ(quietCut(hum, rate, WithoutQuiet::atPause), hum.size()) << "nothing stands out";
}

TEST(SilenceWatch, TellsEachPauseOnce) {
    SilenceWatch watch;
    const auto hear = [&](float level, double from, double to) {
        int told = 0;
        for (double now = from; now < to; now += 0.25)
            told += watch.hear(level, now);
        return told;
    };
    EXPECT_EQ(hear(0.0009F, 0, 3.0), 0);
    EXPECT_EQ(hear(0.0009F, 3.0, 6), 1);
    EXPECT_EQ(hear(0.001F, 6, 6.5), 0) << "a level at the threshold is not quiet";
    EXPECT_EQ(hear(0, 6.5, 9.5), 0);
    EXPECT_EQ(hear(0, 9.5, 20), 1);
}
