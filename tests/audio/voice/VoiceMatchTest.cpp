#include "audio/voice/VoiceMatch.h"
#include "audio/voice/VoiceSignals.h"

#include <functional>
#include <gmock/gmock.h>
#include <numeric>

using namespace fenlo;
using namespace fenlo::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr voice::Mfcc vector{1, 2, 3};

/// A profile that a window of hum at this pitch fits by gender and pitch alone: its score is 0.45.
VoiceProfileData barelyFitting(double pitch) {
    voice::Mfcc opposite = *voice::meanMFCC(hum(pitch, 6400));
    for (double& coefficient : opposite)
        coefficient = -coefficient;
    return {.gender = pitch < 160 ? "male" : "female",
            .pitchMedian = pitch,
            .pitchP10 = pitch,
            .pitchP90 = pitch,
            .centroidMedian = 7900,
            .accent = {},
            .mfccMean = opposite};
}

double energyOf(std::span<const float> samples) {
    return std::inner_product(samples.begin(), samples.end(), samples.begin(), 0.0);
}

std::vector<float> operator*(std::vector<float> samples, float gain) {
    for (float& sample : samples)
        sample *= gain;
    return samples;
}

std::vector<float> part(const std::vector<float>& samples, std::size_t start, std::size_t count) {
    const auto first = samples.begin() + static_cast<std::ptrdiff_t>(start);
    return {first, first + static_cast<std::ptrdiff_t>(count)};
}

} // namespace

TEST(VoiceMatchScore, AddsUpItsParts) {
    const VoiceProfileData profile{.gender = "male",
                                   .pitchMedian = 120,
                                   .pitchP10 = 100,
                                   .pitchP90 = 140,
                                   .energyMedian = 0.25F,
                                   .centroidMedian = 1000,
                                   .centroidStd = 100,
                                   .accent = {},
                                   .mfccMean = vector};
    const voice::CompactFeatures same{"male", 120, 0.25F, 1000, vector};
    const auto score = [&](auto change) {
        voice::CompactFeatures window = same;
        VoiceProfileData changed = profile;
        change(window, changed);
        return voiceMatchScore(window, changed);
    };
    // The cosine of (1, x) with (1, 0) is 1 / sqrt(1 + x²).
    const auto cosine = [](double value) { return voice::Mfcc{1, std::sqrt(1 / (value * value) - 1)}; };
    using W = voice::CompactFeatures;
    using P = VoiceProfileData;
    const std::tuple<const char*, double, std::function<void(W&, P&)>> cases[] = {
        {"the same voice", 1.0, [](W&, P&) {}},
        {"wrong gender is a veto", 0.0, [](W& w, P&) { w.gender = "female"; }},
        {"unknown gender", 0.85, [](W& w, P&) { w.gender = "unknown"; }},
        {"pitch off by 30 of 60", 0.9, [](W& w, P&) { w.pitchMedian = 150; }},
        {"lowest pitch", 0.8 + 0.2 * (1 - 35 / 60.0), [](W& w, P&) { w.pitchMedian = 85; }},
        {"below the lowest", 0.8, [](W& w, P&) { w.pitchMedian = 84.9; }},
        {"above the highest", 0.8, [](W& w, P&) { w.pitchMedian = 161.1; }},
        {"no span of pitch", 1.0, [](W& w, P& p) { p.pitchP10 = p.pitchP90 = 125, w.pitchMedian = 130; }},
        {"far from the median", 0.8, [](W& w, P& p) { p.pitchP10 = 139, w.pitchMedian = 135; }},
        {"energy at half", 0.975, [](W& w, P&) { w.energyMedian = 0.125F; }},
        {"energy at thrice", 0.9, [](W& w, P&) { w.energyMedian = 0.75F; }},
        {"energy too low", 0.9, [](W& w, P&) { w.energyMedian = 0.07F; }},
        {"no energy in the profile", 0.9, [](W&, P& p) { p.energyMedian = 0; }},
        {"centroid off by 100 of 300", 0.9 + 0.1 * 2 / 3, [](W& w, P&) { w.centroidMedian = 1100; }},
        {"centroid at the tolerance", 0.9, [](W& w, P&) { w.centroidMedian = 700; }},
        {"least tolerance", 0.95, [](W& w, P& p) { p.centroidStd = 0, w.centroidMedian = 900; }},
        {"no vector of the window", 0.8, [](W& w, P&) { w.mfccMean.reset(); }},
        {"no vector of the profile", 0.8, [](W&, P& p) { p.mfccMean.reset(); }},
        {"half similar", 0.825, [&](W& w, P& p) { p.mfccMean = voice::Mfcc{1}, w.mfccMean = cosine(0.55); }},
        {"dissimilar", 0.65, [&](W& w, P& p) { p.mfccMean = voice::Mfcc{1}, w.mfccMean = cosine(0.3); }},
    };
    for (const auto& [name, expected, change] : cases)
        EXPECT_NEAR(score(change), expected, 1e-7) << name;
}

TEST(EdgeFades, EndInTheMiddleOfARamp) {
    std::vector<float> mask = constant(0, 6) + constant(1, 10) + constant(0, 6);
    applyEdgeFades(mask, 8);
    const std::vector<float> rise{0.5F, 0.625F, 0.75F, 0.875F}, fall{1, 0.875F, 0.75F, 0.625F};
    EXPECT_EQ(mask, constant(0, 6) + rise + constant(1, 2) + fall + constant(0, 6));
    // A ramp that the end cuts short is steeper.
    mask = constant(0, 18) + constant(1, 2);
    applyEdgeFades(mask, 8);
    EXPECT_NEAR(mask[18], 4 / 6.0, 1e-6);
    EXPECT_NEAR(mask[19], 5 / 6.0, 1e-6);
    mask = constant(0, 2) + constant(1, 18);
    applyEdgeFades(mask, 8);
    EXPECT_NEAR(mask[2], 2 / 6.0, 1e-6);
    EXPECT_EQ(mask[6], 1);
    for (auto untouched : {std::vector<float>{0, 1}, constant(0, 8) + constant(1, 8), constant(1, 40)}) {
        const auto before = untouched;
        applyEdgeFades(untouched, 8);
        EXPECT_EQ(untouched, before);
    }
}

TEST(Isolated, PushesKeptStretchesTogether) {
    const std::vector<float> samples = constant(0.5F, 25600); // seven windows
    const auto output = isolated(samples, std::vector<double>{1, 0, 0, 0.45, 0.449, 0, 0.9});
    // Windows 0, 3 and 6: the samples to 6400, 9600 to 16000 and 19200 to 25600.
    ASSERT_EQ(output.size(), 3 * 6400u + 2 * 800);
    EXPECT_EQ(output[0], 0.5F);
    EXPECT_EQ(output[6319], 0.5F);
    EXPECT_NEAR(output[6399], 0.5 * (1 - 79 / 160.0), 1e-6);
    EXPECT_EQ(part(output, 6400, 800), silence(800));
    EXPECT_NEAR(output[7200], 0.25, 1e-6);
    EXPECT_EQ(output[7280], 0.5F);
    EXPECT_EQ(output.back(), 0.5F);
    EXPECT_EQ(isolated(constant(0.5F, 9600), std::vector<double>{1, 0}).size(), 6400u + 800)
        << "a pause also when the rest is cut";
    EXPECT_THAT(isolated(samples, std::vector<double>(7, 0.44)), IsEmpty());
    EXPECT_THAT(isolated(samples, std::vector<double>(7, 0.45)), IsEmpty());
}

TEST(WindowScores, HaveAWindowForEachFifthOfASecond) {
    const VoiceProfileData profile = barelyFitting(125);
    EXPECT_THAT(windowScores(hum(125, 6399), profile), IsEmpty());
    EXPECT_THAT(windowScores(hum(125, 9599), profile), ElementsAre(0.45));
    EXPECT_THAT(windowScores(hum(125, 6400) + silence(6400), profile), ElementsAre(0.45, 0.45, 0));
    const std::vector<float> twoVoices = hum(125, 16000) + hum(250, 16000) + hum(125, 16000);
    EXPECT_EQ(isolated(twoVoices, windowScores(twoVoices, profile)).size() % 3200, 800u);
}

TEST(WindowScores, EqualThoseOfEachWindowAlone) {
    const VoiceProfileData profile = measureVoice(clip("man-passage"));
    const std::vector<float> samples = clip("man-take") + clip("woman-take");
    std::vector<double> alone;
    for (std::size_t start = 0; start + 6400 <= samples.size(); start += 3200) {
        const auto features = voice::compactFeatures(std::span(samples).subspan(start, 6400));
        alone.push_back(features ? voiceMatchScore(*features, profile) : 0);
    }
    EXPECT_EQ(windowScores(samples, profile), alone);
}

TEST(WindowScores, TellAManFromAWoman) {
    // Stretches of speech without a pause; each begins with a new window.
    const std::vector<float> man = part(clip("man-take"), 22400, 41600), woman = part(clip("woman-take"), 0, 60800);
    for (const auto& [user, users, others] :
         {std::tuple("man-passage", man, woman), std::tuple("woman-passage", woman, man)}) {
        const VoiceProfileData profile = measureVoice(clip(user));
        for (const auto& [gain, otherGain] : {std::pair(1.0F, 1.0F), {1, 0.3F}, {0.3F, 1}, {0.3F, 0.3F}}) {
            const auto samples = others * otherGain + users * gain + others * otherGain;
            std::vector<bool> kept(samples.size());
            const auto scores = windowScores(samples, profile);
            for (std::size_t window = 0; window < scores.size(); ++window)
                if (isKept(scores[window]))
                    std::fill_n(kept.begin() + static_cast<std::ptrdiff_t>(window * 3200), 6400, true);
            std::vector<float> left = samples;
            for (std::size_t i = 0; i < left.size(); ++i)
                left[i] *= kept[i];
            const auto share = [&](std::size_t start, std::size_t count) {
                return energyOf(part(left, start, count)) / energyOf(part(samples, start, count));
            };
            EXPECT_GT(share(others.size(), users.size()), 0.9) << user << ' ' << gain << ' ' << otherGain;
            EXPECT_LT(share(0, others.size()), 0.1) << user << ' ' << gain << ' ' << otherGain;
            EXPECT_LT(share(others.size() + users.size(), others.size()), 0.1)
                << user << ' ' << gain << ' ' << otherGain;
        }
    }
}
