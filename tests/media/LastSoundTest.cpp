#include "media/LastSound.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;

namespace {

constexpr std::size_t second = 16000;

/// A room's noise, in which somebody speaks for two seconds.
std::vector<float> spokenIn(float roomNoise, std::size_t length) {
    std::vector<float> room = noise(length, roomNoise);
    const std::vector<float> voice = hum(150, 2 * second, 0.2F);
    for (std::size_t i = 0; i < voice.size(); ++i)
        room[second / 2 + i] += voice[i];
    return room;
}

void add(std::vector<float>& recording, double at, const std::vector<float>& sound) {
    for (std::size_t i = 0; i < sound.size(); ++i)
        recording[static_cast<std::size_t>(at * second) + i] += sound[i];
}

} // namespace

TEST(LastSound, HowLongTheSilenceGoesOnDoesNotMatter) {
    for (const float room : {0.0F, 0.002F, 0.02F}) {
        std::vector<float> recording = spokenIn(room, 6 * second);
        constexpr std::size_t expected = 2.7 * second;
        for (const double length : {2.8, 3.0, 3.3, 6.0})
            EXPECT_EQ(behindLastSound(std::span(recording).first(static_cast<std::size_t>(length * second))), expected)
                << length << " s in a room of " << room;

        add(recording, 3.1, hum(150, second / 20, 0.3F));
        EXPECT_EQ(behindLastSound(recording), expected) << "the click of a key is no sound";
        add(recording, 3.5, noise(second / 8, 6 * std::max(room, 0.001F)));
        EXPECT_GT(behindLastSound(recording), 3.7 * second) << "a whisper is one";
    }
}

TEST(LastSound, WithoutSilenceOrWithoutSoundNothingIsLeftOut) {
    const std::vector<float> steady = noise(3 * second, 0.1F);
    EXPECT_EQ(behindLastSound(steady), steady.size()) << "of all the same level";
    const std::vector<float> toTheEnd = hum(150, 3 * second + 100);
    EXPECT_EQ(behindLastSound(toTheEnd), toTheEnd.size());
    EXPECT_EQ(behindLastSound(silence(second)), second);
    EXPECT_EQ(behindLastSound(std::vector<float>(7, 0.5F)), 7u);
    EXPECT_EQ(behindLastSound({}), 0u);
}
