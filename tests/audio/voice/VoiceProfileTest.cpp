#include "audio/voice/VoiceProfile.h"
#include "audio/WavFile.h"
#include "audio/voice/VoiceSignals.h"
#include "base/Files.h"
#include "base/Json.h"
#include "support/LogCapture.h"
#include "support/TemporaryFolder.h"

#include <fstream>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

using namespace fenlo;
using namespace fenlo::test;
using nlohmann::json;
using testing::ElementsAre;

namespace fs = std::filesystem;

namespace {

class Profiles : public ::testing::Test {
protected:
    BuiltProfile build(const std::vector<float>& samples) {
        files::removeQuietly(recording);
        writeWav(recording, samples, 16000, WavEncoding::float32);
        return buildVoiceProfile({{recording}}, file);
    }

    const TemporaryFolder folder;
    const fs::path recording = folder / "recording.wav";
    const fs::path file = folder / "made" / ".fenlo" / "voice_profile.json";
    LogCapture log;
};

json sampleProfile() {
    return {{"gender", "male"},      {"genderConfidence", 0.5}, {"pitchMedian", 120.5}, {"pitchP10", 100},
            {"pitchP90", 140},       {"energyMedian", 0.25},    {"energyP25", 0.125},   {"energyP75", 0.5},
            {"centroidMedian", 900}, {"centroidStd", 300.25},   {"accent", "anything"}, {"mfccMean", json::array()}};
}

} // namespace

TEST_F(Profiles, SpeechIsMeasuredAndStoredPrivately) {
    ASSERT_EQ(buildVoiceProfile({{VOICE_CLIPS "/man-passage.flac"}}, file), BuiltProfile::stored);
    EXPECT_THAT(log.lines(), ElementsAre("[Fenlo] Voice profile created: male (conf=0.97), pitch=101Hz"));
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(fs::status(file.parent_path()).permissions(), fs::perms::owner_all);
    const std::string stored = files::read(file).value();
    EXPECT_EQ(stored.find('\n'), stored.npos);
    EXPECT_EQ(parseJson(stored).size(), 12u);

    const VoiceProfileData measured = measureVoice(clip("man-passage"));
    const auto loaded = loadVoiceProfile(file);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(encodeVoiceProfile(*loaded), encodeVoiceProfile(measured));
    EXPECT_EQ(loaded->accent, "American English");
    EXPECT_EQ(loaded->mfccMean, voice::meanMFCC(clip("man-passage")));
    EXPECT_LT(loaded->pitchP10, loaded->pitchMedian);
    EXPECT_GT(loaded->pitchP90, loaded->pitchMedian);
    EXPECT_LT(loaded->energyP25, loaded->energyMedian);
    EXPECT_GT(loaded->energyP75, loaded->energyMedian);
}

TEST_F(Profiles, ShortOrSilentRecordings_GiveNone) {
    EXPECT_EQ(build(hum(160, 47999)), BuiltProfile::unusable);
    EXPECT_EQ(buildVoiceProfile({{recording, folder / "missing.wav"}}, file), BuiltProfile::unusable);
    // Frames begin every 800 samples, so this much hum reaches into four of them, and one frame more into five.
    EXPECT_EQ(build(hum(200, 3200) + silence(44800)), BuiltProfile::unusable);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(build(hum(200, 4000) + silence(44000)), BuiltProfile::stored);
    EXPECT_EQ(build(hum(160, 48000)), BuiltProfile::stored);
    EXPECT_THAT(log.lines(), ElementsAre("[Fenlo] Voice profile: audio too short (<3s)",
                                         "[Fenlo] ERROR: Voice profile: failed to load audio",
                                         "[Fenlo] Voice profile: not enough voiced frames (4)",
                                         "[Fenlo] Voice profile created: female (conf=0.67), pitch=200Hz",
                                         "[Fenlo] Voice profile created: female (conf=0.00), pitch=160Hz"));
}

TEST_F(Profiles, AProfileThatCannotBeStoredIsToldFromARecordingThatWillNotDo) {
    std::ofstream(folder / "made") << "in the way";
    EXPECT_EQ(build(hum(160, 48000)), BuiltProfile::notStored);
    EXPECT_FALSE(loadVoiceProfile(file));
}

TEST(VoiceProfileFile, AllKeysButTheVectorAreRequired) {
    json complete = sampleProfile();
    complete["mfccMean"] = std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13.5};
    const auto profile = decodeVoiceProfile(writeJson(complete));
    ASSERT_TRUE(profile);
    EXPECT_EQ(parseJson(encodeVoiceProfile(*profile)), complete);

    for (const auto& [key, value] : complete.items()) {
        json changed = complete;
        changed.erase(key);
        EXPECT_EQ(decodeVoiceProfile(writeJson(changed)).has_value(), key == "mfccMean") << key;
        changed[key] = value.is_string() ? json(1) : json("1");
        EXPECT_FALSE(decodeVoiceProfile(writeJson(changed))) << key;
        changed[key] = nullptr;
        EXPECT_EQ(decodeVoiceProfile(writeJson(changed)).has_value(), key == "mfccMean") << key;
    }
    complete.erase("mfccMean");
    EXPECT_EQ(parseJson(encodeVoiceProfile(decodeVoiceProfile(writeJson(complete)).value())), complete);
    EXPECT_FALSE(decodeVoiceProfile(writeJson(sampleProfile()))) << "a vector of another length";
    complete["energyP25"] = 1e39;
    EXPECT_FALSE(decodeVoiceProfile(writeJson(complete))) << "too large for a 32-bit float";
    for (const char* other : {"", "[]", "{", "null"})
        EXPECT_FALSE(decodeVoiceProfile(other));
}
