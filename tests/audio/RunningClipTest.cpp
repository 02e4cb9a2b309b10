#include "audio/RunningClip.h"
#include "audio/ChunkWriter.h"
#include "media/Level.h"
#include "support/Signals.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

TEST(RunningClip, IsTheBeginningOfItsChunkToTheLastBit) {
    for (const double rate : {8000.0, 16000.0, 22050.0, 44100.0, 48000.0}) {
        SCOPED_TRACE(rate);
        const std::vector<float> take = noise(static_cast<std::size_t>(rate * 3) + 17);
        const std::vector<float> chunk = resampleForChunk(take, rate);
        EXPECT_NEAR(static_cast<double>(chunk.size()), 16000 * static_cast<double>(take.size()) / rate, 1);
        RunningClip clip(rate);
        for (std::size_t begin = 0, length = 1; begin < take.size(); begin += length, length = length * 2 % 4097) {
            clip.append(std::span(take).subspan(begin, std::min(length, take.size() - begin)));
            ASSERT_LE(clip.size(), chunk.size());
            ASSERT_TRUE(std::ranges::equal(clip.beginning().samples, std::span(chunk).first(clip.size())));
        }
        EXPECT_LE(chunk.size() - clip.size(), 3u);
        EXPECT_FLOAT_EQ(clip.peak(), peak(std::span(chunk).first(clip.size())));
        EXPECT_EQ(clip.frames(), clip.size() / 320);
    }
}

TEST(RunningClip, ABeginningStaysWhenTheClipGrowsBeyondItsMemory) {
    RunningClip clip(16000);
    clip.append(constant(0.5F, 16000));
    const auto beginning = clip.beginning();
    clip.append(constant(0.25F, 300 * 16000));
    EXPECT_EQ(clip.size(), 301u * 16000);
    EXPECT_EQ(beginning.samples.size(), 16000u);
    EXPECT_TRUE(std::ranges::all_of(beginning.samples, [](float sample) { return sample == 0.5F; }));
    EXPECT_EQ(clip.beginning().samples[16000], 0.25F);
}

TEST(RunningClip, KnowsHowLongItHasBeenSilent) {
    RunningClip clip(48000);
    EXPECT_EQ(clip.soundEnd(), 0u);
    const std::vector<float> spoken = hum(50, 48000) + silence(14400);
    for (std::size_t begin = 0; begin < spoken.size(); begin += 480)
        clip.append(std::span(spoken).subspan(begin, 480));
    EXPECT_EQ(clip.frames(), 65u);
    EXPECT_EQ(clip.soundEnd(), 50u);
    EXPECT_EQ(clip.keptEnd(), 60u);
}
