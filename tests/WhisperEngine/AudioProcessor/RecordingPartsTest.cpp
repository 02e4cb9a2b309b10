#include "WhisperEngine/AudioProcessor/RecordingParts.h"

#include "support/Signals.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace fenlo::test;
using namespace fenlo::whisper;
using testing::ElementsAre;

namespace {

/// Somebody who speaks without a pause.
class Talk {
public:
    explicit Talk(int seconds) : m_sound(constant(0.5F, seconds * sampleRate)) {}

    Talk& level(double from, double to, float level) {
        std::fill(m_sound.begin() + sampleAtSecond(from), m_sound.begin() + sampleAtSecond(to), level);
        return *this;
    }
    Talk& pause(double from, double to) { return level(from, to, 0); }

    /// The seconds at which parts begin.
    std::vector<double> parts(double begin = 0, double end = 0) const {
        const auto last = end > 0 ? sampleAtSecond(end) : std::ssize(m_sound);
        const auto found = RecordingParts(m_sound, EnergyVAD())
                               .between(static_cast<int>(sampleAtSecond(begin)), static_cast<int>(last));
        std::vector<double> begins;
        auto next = sampleAtSecond(begin);
        for (const AudioChunk& part : found) {
            EXPECT_EQ(part.seekOffsetIndex, next) << "no gap";
            EXPECT_EQ(part.audioSamples.data(), m_sound.data() + next) << "a view, not a copy";
            next += std::ssize(part.audioSamples);
            begins.push_back(static_cast<double>(part.seekOffsetIndex) / sampleRate);
        }
        EXPECT_EQ(next, last);
        return begins;
    }

private:
    static std::ptrdiff_t sampleAtSecond(double second) {
        return static_cast<std::ptrdiff_t>(second * sampleRate + 0.5);
    }
    std::vector<float> m_sound;
};

} // namespace

TEST(RecordingParts, AreCutInTheLongestSilenceNearTheEvenDivision) {
    Talk talk(600); // five parts
    EXPECT_THAT(talk.parts(), ElementsAre(0)) << "nobody pauses";
    talk.pause(110, 111).pause(125, 127).pause(160, 170); // the last one is too far from 120
    talk.pause(240, 240.4);                               // between two words
    talk.pause(350, 351);
    EXPECT_THAT(talk.parts(), ElementsAre(0, 126, 350.5));
    EXPECT_THAT(talk.parts(0.1), ElementsAre(0.1)) << "shorter than ten minutes";

    Talk hour(3600);
    for (int second = 20; second < 3600; second += 10)
        hour.pause(second, second + 0.6);
    EXPECT_EQ(hour.parts().size(), 8U);
    EXPECT_EQ(hour.parts(1000, 2300).size(), 8U) << "a clip";
    EXPECT_EQ(hour.parts(1000, 1700).size(), 5U);
}

TEST(RecordingParts, AreCutWhereAQuietVoicePauses) {
    Talk talk(600);
    talk.level(100, 140, 0.015F).pause(104, 105); // below the detector's threshold
    EXPECT_THAT(talk.parts(), ElementsAre(0, testing::DoubleNear(104.5, 0.25)));
}
