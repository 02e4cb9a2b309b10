#include "audio/TakeChunks.h"
#include "audio/WavFile.h"
#include "base/Files.h"
#include "media/SpeechRate.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace fenlo;

TEST(TakeChunks, ALongTakeIsCutWhereItIsQuietAndLosesNothing) {
    const auto second = static_cast<std::size_t>(speechRate);
    std::vector<float> samples(static_cast<std::size_t>(chunkDuration) * second * 2 + second);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = 0.8f * std::sin(0.05f * static_cast<float>(i % second));
    const std::size_t pause = static_cast<std::size_t>(chunkDuration - 5) * second;
    std::fill_n(samples.begin() + static_cast<std::ptrdiff_t>(pause), second, 0.0f);

    const auto first = cutChunk(std::span(samples).first(static_cast<std::size_t>(chunkDuration) * second), speechRate);
    ASSERT_TRUE(first);
    EXPECT_GT(first->length, pause);
    EXPECT_LE(first->length, pause + second);
    files::removeQuietly(first->file);

    const auto chunks = writeChunks(samples, speechRate);
    ASSERT_TRUE(chunks);
    EXPECT_EQ(chunks->size(), 3u);
    std::uintmax_t bytes = 0;
    for (const auto& chunk : *chunks) {
        bytes += std::filesystem::file_size(chunk) / sizeof(float) * sizeof(float);
        files::removeQuietly(chunk);
    }
    EXPECT_NEAR(static_cast<double>(bytes), static_cast<double>(samples.size() * sizeof(float)), 3 * 200.0);
    EXPECT_TRUE(writeChunks({}, speechRate)->empty());
}
