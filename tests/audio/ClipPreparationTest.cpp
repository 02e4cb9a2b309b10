#include "audio/ClipPreparation.h"
#include "audio/AbandonedClips.h"
#include "audio/Level.h"
#include "audio/WavFile.h"
#include "base/Files.h"
#include "base/LockedFile.h"
#include "media/AudioFile.h"
#include "support/EnvironmentVariable.h"
#include "support/LogCapture.h"
#include "support/ScarceDisk.h"
#include "support/Signals.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <sndfile.h>

using namespace fenlo;
using namespace fenlo::test;

namespace fs = std::filesystem;

namespace {

class Clips : public ::testing::Test {
protected:
    void TearDown() override {
        removePreparedClip(prepared, clip);
        files::removeQuietly(clip);
    }

    /// Prepares a mono clip of these samples.
    const fs::path& prepare(const std::vector<float>& samples, int clipRate = 16000) {
        removePreparedClip(prepared, clip);
        files::removeQuietly(clip);
        writeWav(clip, samples, clipRate, WavEncoding::float32);
        return prepared = prepareClip(clip);
    }
    bool isUnchanged() const { return prepared == clip; }
    std::vector<float> result() const { return readSoundFile(prepared, ChannelMix::first).mono; }

    const fs::path clip = fs::temp_directory_path() / "clip.wav";
    fs::path prepared = clip;
    LogCapture log;
};

std::vector<float> quiet(double seconds) {
    return constant(0, static_cast<std::size_t>(seconds * 16000));
}

} // namespace

TEST_F(Clips, ShortClip_IsConvertedAndNotTrimmed) {
    prepare(quiet(1) + sine(0.5F, 0.9, 16000) + quiet(1));
    ASSERT_FALSE(isUnchanged());
    EXPECT_EQ(result().size(), 46400u);
    EXPECT_TRUE(prepared.filename().string().starts_with("fenlo_pre_"));
    EXPECT_EQ(prepared.extension(), ".wav");
    SF_INFO info{};
    SNDFILE* sound = ::sf_open(prepared.c_str(), SFM_READ, &info);
    EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    EXPECT_EQ(info.samplerate, 16000);
    EXPECT_EQ(info.channels, 1);
    ::sf_close(sound);
    EXPECT_TRUE(log.contains("[Fenlo] Preprocess: 181KB → 90KB (16kHz mono, VAD skipped — short clip)"));
}

TEST_F(Clips, ClipOfThreeSeconds_IsTrimmedToItsSpeech) {
    // The speech fills the frames 60 to 79; 15 frames are kept to either side.
    prepare(quiet(1.2) + sine(0.5F, 0.4, 16000) + quiet(1.4));
    ASSERT_FALSE(isUnchanged());
    EXPECT_EQ(result().size(), (15u + 20 + 15) * 320);
    EXPECT_TRUE(log.contains("[Fenlo] Preprocess: 187KB → 31KB (16kHz mono, VAD-trimmed)"));
}

TEST_F(Clips, NothingStandsOut_TheClipStaysAsItIs) {
    EXPECT_EQ(prepare(quiet(4)), clip);
    EXPECT_EQ(prepare(sine(0.5F, 4, 16000)), clip) << "speech from end to end raises the noise floor";
    EXPECT_EQ(prepare({}), clip);
}

TEST(SpeechRange, StaysWithinTheClip) {
    const auto loud = sine(0.5F, 1, 16000);
    const auto atStart = speechRange(loud + quiet(3));
    EXPECT_EQ(atStart->start, 0u);
    EXPECT_EQ(atStart->end, 16000u + 15 * 320);
    const auto atEnd = speechRange(quiet(3.01) + loud);
    EXPECT_EQ(atEnd->end, 48160u + 16000);
    EXPECT_EQ(atEnd->start, (150u - 15) * 320);
}

TEST(SpeechRange, ThresholdFollowsTheNoiseButHasAFloor) {
    const auto burst = [](float noise, float level) {
        return speechRange(constant(noise, 320 * 50) + constant(level, 320 * 10) + constant(noise, 320 * 50))
            .has_value();
    };
    EXPECT_FALSE(burst(0.01F, 0.0199F));
    EXPECT_TRUE(burst(0.01F, 0.0201F));
    EXPECT_FALSE(burst(0, 0.003F));
    EXPECT_TRUE(burst(0, 0.0031F));
    EXPECT_FALSE(speechRange({}));
}

TEST_F(Clips, OtherRatesAndChannels_BecomeSixteenKilohertzMono) {
    prepare(sine(0.5F, 2, 44100, 1000), 44100);
    EXPECT_NEAR(static_cast<double>(result().size()), 32000, 2);
    EXPECT_NEAR(rms(result()), 0.5 * std::sqrt(0.5), 1e-2);
    // A tone above half the new rate must vanish, not come back as another tone.
    prepare(sine(0.5F, 2, 44100, 11000), 44100);
    EXPECT_LT(rms(result()), 1e-3);
}

TEST_F(Clips, Failure_LeadsBackToTheClip) {
    std::ofstream(clip) << "RIFF but not a sound";
    EXPECT_EQ(prepareClip(clip), clip);
    EXPECT_TRUE(log.containsPrefix("[Fenlo] Preprocess failed ("));
    {
        prepare(sine(0.5F, 2, 16000));
        removePreparedClip(prepared, clip);
        const ScarceDisk scarce(20000);
        EXPECT_EQ(prepareClip(clip), clip);
    }
    removePreparedClip(clip, clip);
    EXPECT_TRUE(fs::exists(clip));
}

TEST(AbandonedClips, OnlyWhatNobodyHoldsIsCleared) {
    const fs::path folder = fs::temp_directory_path() / files::makeUuid();
    fs::create_directories(folder);
    const EnvironmentVariable temporary("TMPDIR", folder.c_str());
    const auto make = [](const fs::path& file, std::chrono::minutes age) {
        EXPECT_TRUE(files::writeAtomically(file, "clip"));
        fs::last_write_time(file, fs::file_time_type::clock::now() - age);
        return file;
    };
    const auto clip = [] { return files::temporaryFile(preparedClipPrefix, ".wav"); };
    const fs::path abandoned = make(clip(), std::chrono::minutes(1));
    const fs::path fresh = make(clip(), std::chrono::minutes(0));
    const fs::path held = make(clip(), std::chrono::minutes(1));
    const fs::path other = make(folder / "fenlo_pre_my notes.wav", std::chrono::minutes(1));
    const fs::path link = clip();
    fs::create_symlink(other, link);
    const auto hold = LockedFile::open(held, LockedFile::Sharing::shared);
    removeAbandonedClips(std::chrono::system_clock::now());
    EXPECT_FALSE(fs::exists(abandoned));
    for (const fs::path& kept : {fresh, held, other, link})
        EXPECT_TRUE(fs::exists(kept)) << kept;
    fs::remove_all(folder);
}
