#include "media/Resampler.h"

#include "media/Level.h"
#include "support/Signals.h"

#include <gtest/gtest.h>
#include <span>

using namespace fenlo;
using namespace fenlo::test;

namespace {

std::vector<float> inBlocks(std::span<const float> samples, double from, double to, std::size_t block) {
    Resampler resampler(from, to);
    std::vector<float> output;
    for (; !samples.empty(); samples = samples.subspan(std::min(block, samples.size())))
        resampler.process(samples.first(std::min(block, samples.size())), output);
    resampler.finish(output);
    return output;
}

} // namespace

TEST(Resampler, KeepsAToneWhateverTheBlocks) {
    for (const double rate : {8000.0, 11025.0, 22050.0, 44100.0, 48000.0, 96000.0}) {
        const auto tone = sine(0.5F, 2, rate, 1000);
        const auto whole = resample(tone, rate, 16000);
        const auto ideal = sine(0.5F, 2, 16000, 1000);
        ASSERT_NEAR(static_cast<double>(whole.size()), 32000, 2) << rate;
        for (std::size_t i = 2000; i < 30000; ++i)
            ASSERT_NEAR(whole[i], ideal[i], 1e-3) << rate << " at " << i;
        for (const std::size_t block : {1u, 999u, 70000u})
            ASSERT_EQ(inBlocks(tone, rate, 16000, block), whole) << rate << " in blocks of " << block;
    }
}

TEST(Resampler, LosesWhatTheNewRateCannotHold) {
    EXPECT_LT(rms(resample(sine(0.5F, 2, 48000, 11000), 48000, 16000)), 1e-3);
}

TEST(Resampler, EqualRatesAndNoSamplesPassThrough) {
    const auto tone = sine(0.5F, 0.1, 16000);
    EXPECT_EQ(inBlocks(tone, 16000, 16000, 100), tone);
    EXPECT_TRUE(inBlocks({}, 44100, 16000, 1).empty());
    EXPECT_THROW(Resampler(0, 16000), ResamplerError);
}
