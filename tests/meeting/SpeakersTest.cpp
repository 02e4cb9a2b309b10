#include "meeting/SpeakerIdentifier.h"
#include "support/Signals.h"

#include <gtest/gtest.h>
#include <tuple>

using namespace fenlo;
using namespace fenlo::test;

namespace {

BandProfile allBands(float value) {
    BandProfile bands{};
    bands.fill(value);
    return bands;
}

/// The id that the speakers give to a voice.
int match(SpeakerProfiles& speakers, double pitch, double centroid = 1500, float band = 0) {
    return speakers.matchSpeaker({pitch, centroid, allBands(band)}).id;
}

} // namespace

TEST(SpeakerBands, EqualTheReference) {
    const std::pair<double, BandProfile> reference[] = {
        {16000,
         {4.36571F, 3.34027F, 3.96209F, 4.20829F, 4.28061F, 3.88667F, 4.10304F, 4.08734F, 3.92406F, 4.06856F, 3.95486F,
          4.03381F, 4.00021F}},
        {8000, // the last bands lie above half the rate
         {3.96021F, 3.94010F, 4.26392F, 4.04118F, 4.16548F, 4.07333F, 3.91165F, 3.98921F, 4.05694F, 3.97119F, 4.12189F,
          -23.02585F, -23.02585F}},
        {96000, // the first band is narrower than two values of the spectrum
         {-23.02585F, 4.77708F, 4.51634F, 4.17192F, 3.86022F, 3.08089F, 3.46659F, 4.27817F, 3.88600F, 4.33134F,
          4.19205F, 4.20955F, 3.78432F}}};
    SpeakerBands measure;
    for (const auto& [rate, expected] : reference) {
        const BandProfile found = measure.of(referenceSignal(), rate);
        for (std::size_t band = 0; band < found.size(); ++band)
            EXPECT_NEAR(found[band], expected[band], 1e-4) << rate << " Hz, band " << band;
    }
    for (const auto& nothing : {noise(1023), silence(16000), constant(0.0099F, 16000)})
        EXPECT_EQ(measure.of(nothing, 16000), BandProfile{});
}

TEST(SpeakerProfiles, OpenANewSpeakerAtADistanceOfOneHalf) {
    struct Case {
        double pitch, centroid;
        float band;
        int speaker;
    };
    for (const auto& [pitch, centroid, band, speaker] :
         {Case{350, 1500, 0, 1}, Case{349.9, 1500, 0, 0}, Case{150, 5500, 0, 1}, Case{150, 5499, 0, 0},
          Case{150, 1500, 10, 1}, Case{150, 1500, -9.99F, 0}, Case{250, 2500, 2, 0}, Case{250, 2500, 3, 1}}) {
        SpeakerProfiles speakers;
        EXPECT_EQ(match(speakers, 150), 0);
        EXPECT_EQ(match(speakers, pitch, centroid, band), speaker) << pitch << " " << centroid << " " << band;
    }
}

TEST(SpeakerProfiles, FollowAVoiceByThreeTenths) {
    SpeakerProfiles speakers;
    EXPECT_EQ(match(speakers, 100), 0);
    EXPECT_EQ(match(speakers, 200, 2500, 2), 0); // now 130, 1800 and 0.6
    EXPECT_EQ(match(speakers, 329, 1800, 0.6F), 0);
    EXPECT_EQ(match(speakers, 10, 1800, 0.6F), 0) << "189.7 before this";
    EXPECT_EQ(match(speakers, 340, 1800, 0.6F), 1) << "135.8 before this";
}

TEST(SpeakerProfiles, PreferTheNearestAndOfEquallyNearOnesTheFirst) {
    SpeakerProfiles speakers;
    EXPECT_EQ(match(speakers, 300), 0);
    EXPECT_EQ(match(speakers, 100), 1);
    EXPECT_EQ(match(speakers, 200), 0);
    EXPECT_EQ(match(speakers, 180), 1);
    EXPECT_EQ(speakers.speakerOfSilence().id, 1);
    speakers.clear();
    EXPECT_EQ(match(speakers, 180), 0);
}

TEST(SpeakerProfiles, NameAndColourTheSpeakers) {
    SpeakerProfiles speakers;
    for (int id = 0; id < 10; ++id)
        EXPECT_EQ(match(speakers, 200 * id), id);
    const Speaker second = speakers.matchSpeaker({200, 1500, {}});
    EXPECT_EQ(second.label, "Speaker 2");
    EXPECT_EQ(second.initial, "B");
    EXPECT_EQ(second.color.name, "purple");
    const Speaker seventh = speakers.matchSpeaker({1200, 1500, {}});
    EXPECT_EQ(seventh.color.name, "blue");
    const Speaker ninth = speakers.matchSpeaker({1600, 1500, {}});
    EXPECT_EQ(ninth.initial, "9");
    EXPECT_EQ(ninth.color.name, "orange");
}

TEST(SpeakerIdentifier, GivesAChunkWithoutAVoiceToTheLastNewcomer) {
    SpeakerIdentifier identifier;
    const auto identify = [&](const std::vector<float>& samples) { return identifier.identify(samples, 16000).id; };
    const std::vector<float> low = hum(110, 48000), high = hum(420, 48000);
    EXPECT_EQ(identify(low), 0);
    EXPECT_EQ(identify(high), 1);
    EXPECT_EQ(identify(low), 0);
    EXPECT_EQ(identify(silence(48000)), 1);
    EXPECT_EQ(identify(noise(48000)), 1) << "loud, but no voice";
    EXPECT_EQ(identify(hum(110, 2399)), 1) << "one frame of voice";
    EXPECT_EQ(identify(hum(110, 2400)), 0);
    EXPECT_EQ(identify(high), 1) << "noise has moved no profile";
    identifier.clear();
    EXPECT_EQ(identify(high), 0);
}

TEST(SpeakerIdentifier, FoundsASpeakerOnSilence) {
    SpeakerIdentifier identifier;
    const Speaker first = identifier.identify(silence(32000), 16000);
    EXPECT_EQ(first.label, "Speaker 1");
    EXPECT_EQ(first.initial, "A");
    EXPECT_EQ(first.color.name, "blue");
    EXPECT_EQ(identifier.identify(silence(32000), 16000).id, 0);
    EXPECT_EQ(identifier.identify(hum(450, 32000), 16000).id, 1);

    for (const auto& [pitch, centroid, speaker] :
         {std::tuple{349.9, 1500.0, 0}, {350.0, 1500.0, 1}, {150.0, 5500.0, 1}}) {
        SpeakerProfiles speakers;
        EXPECT_EQ(speakers.speakerOfSilence().id, 0);
        EXPECT_EQ(match(speakers, pitch, centroid), speaker) << "its profile is neutral";
    }
}
