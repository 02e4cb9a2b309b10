#include "WhisperEngine/AudioProcessor/AudioChunker.h"

#include "WhisperEngine/Logging.h"
#include "WhisperEngine/WhisperError.h"
#include "support/Signals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace fenlo::test;
using namespace fenlo::whisper;
using ::testing::ElementsAre;
using ::testing::Pair;

namespace {

constexpr int window = 480000;

std::vector<std::pair<int, int>> boundsOf(const std::vector<AudioChunk>& chunks) {
    std::vector<std::pair<int, int>> bounds;
    for (const AudioChunk& chunk : chunks)
        bounds.emplace_back(chunk.seekOffsetIndex, chunk.seekOffsetIndex + static_cast<int>(chunk.audioSamples.size()));
    return bounds;
}

std::vector<std::pair<int, int>> chunk(const std::vector<float>& audio, int limit = window,
                                       const DecodingOptions& options = {}, const Logging& logging = {}) {
    const auto chunks = VADAudioChunker().chunkAll(audio, limit, options, logging);
    for (const AudioChunk& piece : chunks)
        EXPECT_EQ(piece.audioSamples.data(), audio.data() + piece.seekOffsetIndex) << "a view, not a copy";
    return boundsOf(chunks);
}

} // namespace

TEST(Chunker, CutsZerosAtThreeQuartersAndSpeechAtTheLimit) {
    EXPECT_THAT(chunk(constant(0, window + 1)), ElementsAre(Pair(0, 360000), Pair(360000, window + 1)));
    EXPECT_THAT(chunk(constant(0.5F, window + 1)), ElementsAre(Pair(0, window), Pair(window, window + 1)));
    EXPECT_THAT(chunk(constant(0.5F, window)), ElementsAre(Pair(0, window)));
}

TEST(Chunker, CutsInTheMiddleOfTheLongestSilence) {
    std::vector<std::string> lines;
    const Logging logging(LogLevel::debug, [&](const std::string& line) { lines.push_back(line); });
    // Silences: a long one in the first half, which is not searched, a short one and one of six frames.
    const auto audio = constant(0.5F, 16000) + constant(0, 160000) + constant(0.5F, 104000) + constant(0, 1600) +
                       constant(0.5F, 16000) + constant(0, 9600) + constant(0.5F, 300000);
    EXPECT_THAT(chunk(audio, window, {}, logging), ElementsAre(Pair(0, 302400), Pair(302400, 607200)));
    EXPECT_THAT(lines, ElementsAre("Found chunk from 0.00 to 18.90", "Found chunk from 18.90 to 37.95"));
}

TEST(Chunker, FollowsTheClipsOfTheOptions) {
    DecodingOptions options;
    options.clipTimestamps = {1, 41, 50};
    EXPECT_THAT(chunk(constant(0.5F, 60 * 16000), window, options),
                ElementsAre(Pair(16000, 496000), Pair(496000, 656000), Pair(800000, 960000)));
    EXPECT_EQ(boundsOf(VADAudioChunker(nullptr, 160000).chunkAll(constant(0.5F, 60 * 16000), window, options, {})),
              (std::vector<std::pair<int, int>>{{16000, 496000}}))
        << "rests within the padding are left out";
}

TEST(Chunker, LeavesNoGapAndAlwaysMovesOn) {
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::vector<float> audio;
        while (audio.size() < 20000)
            audio = audio + constant(random() % 2 ? 0.0F : 0.5F, random() % 3000 + 1);
        const int limit = static_cast<int>(round < 3 ? round + 1 : random() % 15000 + 1);
        const auto bounds = chunk(audio, limit);
        int end = 0;
        for (const auto& [from, to] : bounds) {
            ASSERT_EQ(from, end);
            ASSERT_GT(to, from);
            ASSERT_LE(to - from, limit);
            end = to;
        }
        ASSERT_EQ(end, static_cast<int>(audio.size())) << "limit " << limit;
    }
    EXPECT_THROW(chunk(constant(0, 10), 0), WhisperError);
}

TEST(SeekClips, AreHeldToTheAudio) {
    const auto clips = [](std::vector<float> times) {
        DecodingOptions options;
        options.clipTimestamps = std::move(times);
        return prepareSeekClips(options, 160000);
    };
    EXPECT_THAT(clips({}), ElementsAre(Pair(0, 160000)));
    EXPECT_THAT(clips({0.5f, 2, 3}), ElementsAre(Pair(8000, 32000), Pair(48000, 160000)));
    EXPECT_THAT(clips({-1, 99}), ElementsAre(Pair(0, 160000)));
    EXPECT_THAT(clips({4, 2}), ElementsAre(Pair(64000, 64000))) << "an end before the start gives an empty clip";
    EXPECT_THAT(clips({std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}),
                ElementsAre(Pair(0, 160000)));
}
