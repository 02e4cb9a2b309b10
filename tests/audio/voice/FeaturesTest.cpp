#include "audio/voice/PowerSpectrum.h"
#include "audio/voice/VoiceFeatures.h"
#include "audio/voice/VoiceSignals.h"

#include <cmath>
#include <complex>
#include <gmock/gmock.h>
#include <numeric>

using namespace fenlo;
using namespace fenlo::voice;
using namespace fenlo::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The pitches of the voiced frames, by plain sums.
std::vector<double> plainPitchTrack(std::span<const float> samples) {
    std::vector<double> pitches;
    for (std::size_t start = 0; start + 1600 <= samples.size(); start += 800) {
        const auto frame = samples.subspan(start, 1600);
        double mean = 0, power = 0;
        for (const float sample : frame) {
            mean += sample / 1600.0;
            power += sample * sample / 1600.0;
        }
        const auto correlation = [&](std::size_t lag) {
            double sum = 0;
            for (std::size_t i = 0; i + lag < 1600; ++i)
                sum += (frame[i] - mean) * (frame[i + lag] - mean);
            return sum;
        };
        double peak = 0;
        std::size_t best = 0;
        for (std::size_t lag = 32; lag <= 266; ++lag)
            if (const double value = correlation(lag) / correlation(0); value > peak) {
                peak = value;
                best = lag;
            }
        if (std::sqrt(power) >= 0.01 && peak >= 0.3)
            pitches.push_back(16000.0 / static_cast<double>(best));
    }
    return pitches;
}

} // namespace

TEST(PowerSpectrum, IsThePackedTransformAtTwiceTheScale) {
    std::vector<float> frame = noise(512, 0.1F);
    for (std::size_t i = 0; i < frame.size(); ++i)
        frame[i] += i % 2 ? -0.2F : 0.5F; // strong at both ends of the spectrum
    std::vector<double> direct(257);
    for (std::size_t k = 0; k <= 256; ++k) {
        std::complex<double> sum;
        for (std::size_t i = 0; i < 512; ++i) {
            const double turn = 2 * std::numbers::pi * static_cast<double>(i) / 512;
            sum += 2.0 * frame[i] * (0.54 - 0.46 * std::cos(turn)) * std::polar(1.0, -turn * static_cast<double>(k));
        }
        direct[k] = std::norm(sum);
    }
    direct[0] += direct[256];
    direct[256] = 0;
    PowerSpectrum spectrum(512);
    spectrum.of(hum(200, 512)); // must not affect the next call
    const auto power = spectrum.of(frame);
    ASSERT_EQ(power.size(), 257u);
    EXPECT_EQ(power[256], 0);
    for (std::size_t k = 0; k < 256; ++k)
        ASSERT_NEAR(power[k], direct[k], 1e-5 * direct[k] + 1e-6) << k;
}

TEST(PitchTrack, FindsTheFundamental) {
    for (const std::size_t lag : {32, 40, 57, 80, 99, 128, 160, 200, 250, 266})
        EXPECT_THAT(pitchTrack(hum(16000.0 / static_cast<double>(lag), 2400)),
                    ElementsAre(16000.0 / static_cast<double>(lag), 16000.0 / static_cast<double>(lag)));
    EXPECT_THAT(pitchTrack(hum(150, 1599)), IsEmpty());
    EXPECT_EQ(pitchTrack(hum(150, 1600)).size(), 1u);
    EXPECT_EQ(pitchTrack(hum(150, 2399)).size(), 1u);
    EXPECT_THAT(pitchTrack(noise(8000)), IsEmpty());
    EXPECT_THAT(pitchTrack(constant(0.5F, 8000)), IsEmpty());
    EXPECT_THAT(pitchTrack(sine(0.0141F, 0.1, 16000, 200)), IsEmpty()) << "an RMS below 0.01";
    EXPECT_EQ(pitchTrack(sine(0.0143F, 0.1, 16000, 200)).size(), 1u);
    EXPECT_EQ(pitchTrack(hum(125, 2400) + silence(1600) + hum(250, 1600)).size(), 5u) << "one of six frames is silent";
}

TEST(PitchTrack, EqualsPlainSumsOnSpeech) {
    for (const char* name : {"man-take", "woman-take"})
        EXPECT_EQ(pitchTrack(clip(name)), plainPitchTrack(clip(name)));
}

TEST(Gender, IsDividedAt160Hertz) {
    const auto expect = [](std::vector<double> pitches, const char* gender, double confidence) {
        const Gender found = genderFrom(std::move(pitches));
        EXPECT_EQ(found.gender, gender);
        EXPECT_NEAR(found.confidence, confidence, 1e-12);
    };
    expect({160}, "female", 0);
    expect({159.4}, "male", 0.01);
    expect({400, 100, 130}, "male", 0.5);
    expect({120, 320}, "female", 1);
    expect({80}, "male", 1);
}

TEST(EnergyFrames, LeaveOutSilence) {
    EXPECT_THAT(energyFrames(constant(0.1F, 1599)), IsEmpty());
    EXPECT_THAT(energyFrames(constant(0.005F, 3200)), ElementsAre(0.005F, 0.005F, 0.005F));
    EXPECT_THAT(energyFrames(constant(0.25F, 1600) + constant(0.0049F, 1600)), ElementsAre(0.25F, testing::_));
}

TEST(SpectralFeatures, EqualTheReference) {
    const std::vector<float> samples = referenceSignal();
    const Centroid centroid = spectralCentroid(samples);
    EXPECT_NEAR(centroid.median, 5518.722, 0.01);
    EXPECT_NEAR(centroid.standardDeviation, 1674.897, 0.01);

    const auto mfcc = meanMFCC(samples);
    const double reference[] = {113.017, -28.1485, -9.2646, -3.6413, -4.4145, -1.14, -2.2287,
                                -0.7177, -1.0333,  -0.2763, -0.341,  -0.1393, -0.588};
    for (std::size_t k = 0; k < mfccCount; ++k)
        EXPECT_NEAR(mfcc.value()[k], reference[k], 1e-3) << k;

    for (const double frequency : {500, 1000, 3000, 7000}) {
        const Centroid tone = spectralCentroid(sine(0.5F, 1, 16000, frequency));
        EXPECT_NEAR(tone.median, frequency, 0.01 * frequency);
        EXPECT_LT(tone.standardDeviation, 2);
    }
    for (const auto& nothing : {silence(16000), noise(511), constant(0.0099F, 16000)}) {
        EXPECT_FALSE(meanMFCC(nothing));
        EXPECT_EQ(spectralCentroid(nothing).median, 0);
        EXPECT_EQ(spectralCentroid(nothing).standardDeviation, 0);
    }
    EXPECT_EQ(spectralCentroid(noise(1023)).median, 0);
    EXPECT_TRUE(meanMFCC(noise(512)));
}

TEST(MelFilterbank, EqualsTheReference) {
    const auto squares = [](const std::vector<std::vector<float>>& bank) {
        double sum = 0;
        for (const auto& filter : bank)
            sum = std::inner_product(filter.begin(), filter.end(), filter.begin(), sum);
        return sum;
    };
    EXPECT_NEAR(squares(melFilterbank(26, 512, 16000)), 163.1879, 1e-3);
    EXPECT_NEAR(squares(melFilterbank(40, 256, 8000)), 88.4365, 1e-3);
    const auto last = melFilterbank(26, 512, 16000).at(25); // of 257 bins
    EXPECT_EQ(last.size(), 257u);
    EXPECT_EQ(last[208], 0);
    EXPECT_GT(last[209], 0);
    EXPECT_NEAR(std::accumulate(last.begin(), last.end(), 0.0), 24.0, 1e-4);
}

TEST(Statistics, InterpolateAndCompare) {
    const std::vector<double> values{1, 2, 4, 8};
    const std::pair<double, double> percentiles[] = {{0, 1}, {10, 1.3}, {25, 1.75}, {50, 3}, {90, 6.8}, {100, 8}};
    for (const auto& [p, value] : percentiles)
        EXPECT_NEAR(percentile(values, p), value, 1e-12);
    EXPECT_EQ(percentile(std::vector<float>{0.5F, 1}, 50), 0.75F);
    EXPECT_EQ(percentile(std::vector<float>{0.1F}, 90), 0.1F);
    EXPECT_EQ(percentile(std::vector<double>{}, 50), 0);

    using Vector = std::vector<double>;
    EXPECT_NEAR(cosineSimilarity(Vector{3, 4}, Vector{4, 3}), 0.96, 1e-12);
    EXPECT_NEAR(cosineSimilarity(Vector{1, 2}, Vector{-2, -4}), -1, 1e-12);
    EXPECT_EQ(cosineSimilarity(Vector{1, 2}, Vector{1}), 0);
    EXPECT_EQ(cosineSimilarity(Vector{0, 0}, Vector{1, 1}), 0);
    EXPECT_EQ(cosineSimilarity(Vector{}, Vector{}), 0);
}

TEST(CompactFeatures, NeedTwoVoicedFrames) {
    EXPECT_FALSE(compactFeatures(hum(200, 2399)));
    EXPECT_FALSE(compactFeatures(noise(16000)));
    const auto features = compactFeatures(hum(200, 2400));
    ASSERT_TRUE(features);
    EXPECT_EQ(features->gender, "female");
    EXPECT_EQ(features->pitchMedian, 200);
    EXPECT_NEAR(features->energyMedian, 0.5 * std::sqrt(0.5 * (1 + 1 / 4. + 1 / 9. + 1 / 16. + 1 / 25. + 1 / 36.)),
                1e-4);
    EXPECT_EQ(features->centroidMedian, spectralCentroid(hum(200, 2400)).median);
    EXPECT_TRUE(features->mfccMean);
}
