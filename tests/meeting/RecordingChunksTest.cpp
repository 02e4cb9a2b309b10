#include "meeting/RecordingChunks.h"
#include "support/Signals.h"

#include <gmock/gmock.h>

using namespace fenlo;
using namespace fenlo::test;
using testing::DoubleNear;
using testing::ElementsAre;

namespace {

std::vector<float> speechOf(double seconds) {
    return hum(150, static_cast<std::size_t>(seconds * 16000), 0.1F);
}

std::vector<float> pauseOf(double seconds) {
    return silence(static_cast<std::size_t>(seconds * 16000));
}

} // namespace

TEST(RecordingChunks, LoseNoSampleWhereverTheBlocksEnd) {
    const std::vector<float> recording = speechOf(4) + pauseOf(1) + speechOf(12.345) + noise(7777, 0.0001F);
    for (const std::size_t block : {1000u, 16000u, 400000u}) {
        RecordingChunks chunks(MeetingMode::meeting);
        std::vector<float> joined;
        std::vector<double> ends;
        const auto take = [&](const RecordingChunks::Chunk& chunk) {
            joined.insert(joined.end(), chunk.samples.begin(), chunk.samples.end());
            ends.push_back(chunk.end);
            EXPECT_NEAR(chunk.end, static_cast<double>(joined.size()) / 16000, 1e-9);
        };
        for (std::size_t at = 0; at < recording.size(); at += block)
            for (const auto& chunk :
                 chunks.add(std::span(recording).subspan(at, std::min(block, recording.size() - at))))
                take(chunk);
        take(chunks.finish());
        EXPECT_EQ(joined, recording);
        EXPECT_THAT(ends, ElementsAre(DoubleNear(4.8, 0.07), DoubleNear(14.8, 0.07), DoubleNear(17.83, 0.01)));
        EXPECT_TRUE(chunks.finish().samples.empty());
    }
}
