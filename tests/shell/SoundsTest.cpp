#include "shell/Sounds.h"
#include "support/FakeAudio.h"
#include "support/VirtualTime.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

using namespace fenlo;

namespace {

std::vector<float> renderOne(double freq, double duration, WaveType wave) {
    return renderTones({{freq, duration, wave}}, 0, 1);
}

} // namespace

TEST(Tones, LengthsAreTruncatedAndTheGapStandsBetweenNotesOnly) {
    EXPECT_EQ(renderOne(800, 0.015, WaveType::sine).size(), 661u);
    EXPECT_EQ(renderOne(523, 0.18, WaveType::soft).size(), 7938u);
    EXPECT_EQ(renderTones({{880, 0.07, WaveType::soft}}, 0.02, 0.1f).size(), 3087u);
    EXPECT_TRUE(renderTones({}, 0.02, 0.1f).empty());
    EXPECT_TRUE(renderTones({{880, 0.00002, WaveType::sine}}, 0, 1).empty());

    const auto two = renderTones({{800, 0.015, WaveType::sine}, {800, 0.015, WaveType::sine}}, 0.015, 1);
    ASSERT_EQ(two.size(), 1984u); // 0.045 s, whose truncation leaves one sample more than three times 661
    for (std::size_t i = 661; i < 2 * 661; ++i)
        ASSERT_EQ(two[i], 0.f) << i;
    for (std::size_t i = 0; i < 661; ++i)
        ASSERT_EQ(two[i], two[2 * 661 + i]) << i;
    EXPECT_EQ(two.back(), 0.f);
}

TEST(Tones, ANoteFadesInAndOutOverItsRampAndDecays) {
    // A wave of 11025 Hz is 0, 1, 0, -1, …, so that every odd sample shows envelope and decay alone.
    for (const auto& [duration, ramp] : {std::pair{0.015, 198.0}, std::pair{0.18, 882.0}}) {
        const auto samples = renderOne(11025, duration, WaveType::sine);
        const auto length = double(samples.size());
        for (std::size_t i = 1; i < samples.size(); i += 2) {
            const double x = double(i);
            double expected = std::exp(-2 * x / length);
            const double edge = std::min(x, length - x);
            if (edge < ramp)
                expected *= std::pow(std::sin(edge / ramp * std::numbers::pi / 2), 2); // (1 - cos a) / 2 = sin² (a / 2)
            ASSERT_NEAR(std::abs(samples[i]), expected, 1e-5) << "sample " << i << " of " << length;
        }
    }
}

TEST(Tones, WavesCarryTheirOvertones) {
    // A quarter and an eighth of a period into the note, in the flat middle between the ramps.
    const double freq = 44100.0 / 8;
    const std::size_t at = 2 * 8 * 100; // a whole number of periods after the ramp
    const auto sine = renderOne(freq, 0.1, WaveType::sine);
    const auto soft = renderOne(freq, 0.1, WaveType::soft);
    const auto round = renderOne(freq, 0.1, WaveType::round);
    const auto decay = [&](std::size_t i) { return std::exp(-2 * double(i) / 4410); };
    const double half = std::sqrt(0.5);
    EXPECT_NEAR(sine[at + 1] / decay(at + 1), half, 1e-4);
    EXPECT_NEAR(soft[at + 1] / decay(at + 1), half + 0.15, 1e-4);
    EXPECT_NEAR(round[at + 1] / decay(at + 1), half + 0.1 + 0.05 * half, 1e-4);
    EXPECT_NEAR(round[at + 2] / decay(at + 2), 1 - 0.05, 1e-4);
    EXPECT_FLOAT_EQ(renderTones({{freq, 0.1, WaveType::soft}}, 0, 0.25f)[at + 1], soft[at + 1] / 4);
}

TEST(SoundSchemes, AllCanBePlayedAndFound) {
    for (const SoundScheme& scheme : SoundScheme::all()) {
        EXPECT_EQ(SoundScheme::find(Choice<SoundSchemeId>(scheme.id)), &scheme);
        for (const float sample : renderTones(scheme.start, 0.02, scheme.startVol))
            ASSERT_LE(std::abs(sample), 0.2f) << scheme.id << " is a quiet sound";
        EXPECT_EQ(scheme.start.empty(), scheme.startVol == 0) << scheme.id;
        EXPECT_EQ(scheme.end.empty(), scheme.endVol == 0) << scheme.id;
    }
    EXPECT_EQ(SoundScheme::all().size(), 12u);
    EXPECT_EQ(SoundScheme::find(Choice<SoundSchemeId>("loud")), nullptr);
}

namespace {

/// Runs what it holds from the last task to the first.
class ReversedBackground final : public Background {
public:
    void run(Task task) override { tasks.push_back(std::move(task)); }
    void runAll() {
        for (; !tasks.empty(); tasks.pop_back())
            tasks.back()(std::stop_token());
    }
    std::vector<Task> tasks;
};

} // namespace

TEST(TonePlayer, RendersInTheBackgroundAndPlaysNothingForNothing) {
    test::FakeAudioOutput output;
    test::ManualBackground background;
    TonePlayer player(output, background);
    player.playTones({silenceTone}, 0, 0.06f);
    EXPECT_TRUE(output.played.empty());
    background.runAll();
    ASSERT_EQ(output.played.size(), 1u);
    EXPECT_EQ(output.played[0].samples.size(), 1323u);
    EXPECT_EQ(output.played[0].sampleRate, 44100);
    player.playTones({}, 0.02, 0.1f);
    background.runAll();
    EXPECT_EQ(output.played.size(), 1u);
    player.beep();
    background.runAll();
    EXPECT_EQ(output.played.size(), 2u);
}

TEST(TonePlayer, ALateToneDoesNotCutOffTheOneAfterIt) {
    test::FakeAudioOutput output;
    ReversedBackground background;
    TonePlayer player(output, background);
    player.playTones({{440, 0.01, WaveType::sine}}, 0, 1);
    player.playTones({{440, 0.02, WaveType::sine}}, 0, 1);
    background.runAll();
    ASSERT_EQ(output.played.size(), 1u);
    EXPECT_EQ(output.played[0].samples.size(), 882u);
}
