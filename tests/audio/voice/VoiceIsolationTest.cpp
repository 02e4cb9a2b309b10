#include "audio/voice/VoiceIsolation.h"
#include "audio/WavFile.h"
#include "audio/voice/VoiceMatch.h"
#include "audio/voice/VoiceSignals.h"
#include "base/Files.h"
#include "settings/Config.h"
#include "support/LogCapture.h"
#include "support/ScarceDisk.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>
#include <sndfile.h>

using namespace fenlo;
using namespace fenlo::test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

class Isolation : public ::testing::Test {
protected:
    Isolation() {
        config.update([](Settings& settings) { settings.voiceIsolation = true; });
        storeVoiceProfile(measureVoice(clip("man-passage")), profile);
    }

    /// Whether the recording comes back as it is.
    bool leaves(const std::vector<float>& samples) {
        files::removeQuietly(chunk);
        writeWav(chunk, samples, 16000, WavEncoding::float32);
        result = VoiceIsolation(config, profile).isolateVoice(chunk);
        return result == chunk;
    }

    const std::vector<float> man = clip("man-take"), woman = clip("woman-take");
    const TemporaryFolder folder;
    const fs::path profile = folder / "voice_profile.json";
    const fs::path chunk = folder / "chunk.wav";
    VirtualClock clock;
    Config config{folder / "config.json", clock};
    fs::path result;
    LogCapture log;
};

} // namespace

TEST_F(Isolation, OtherVoicesGoIntoANewFile) {
    const std::vector<float> samples = man + woman;
    ASSERT_FALSE(leaves(samples));
    EXPECT_EQ(result.parent_path(), fs::temp_directory_path());
    EXPECT_EQ(result.extension(), ".wav");
    EXPECT_EQ(result.stem().string().size(), 36u);
    EXPECT_EQ(fs::status(result).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    SF_INFO info{};
    ::sf_close(::sf_open(result.c_str(), SFM_READ, &info));
    EXPECT_EQ(info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    EXPECT_EQ(info.samplerate, 16000);
    EXPECT_EQ(info.channels, 1);
    EXPECT_EQ(loadVoiceAudio(result), isolated(samples, windowScores(samples, measureVoice(clip("man-passage")))));
    EXPECT_THAT(log.lines(), ElementsAre("[Fenlo] Voice isolation: kept 20/42 frames"));
    EXPECT_TRUE(fs::exists(chunk));
    files::removeQuietly(result);
}

TEST_F(Isolation, WhenNothingIsToBeToldOrRemoved_TheRecordingStays) {
    EXPECT_TRUE(leaves(silence(16000)));
    EXPECT_TRUE(leaves({woman.begin(), woman.begin() + 48000}));
    EXPECT_TRUE(leaves({man.begin() + 22400, man.begin() + 64000}));
    EXPECT_THAT(log.lines(),
                ElementsAre("[Fenlo] Voice isolation: kept 0/4 frames", "[Fenlo] Voice isolation: kept 0/14 frames",
                            "[Fenlo] Voice isolation: kept 12/12 frames"));
}

TEST_F(Isolation, WithoutItsConditions_IsSilent) {
    EXPECT_TRUE(leaves({man.begin(), man.begin() + 6399}));
    files::writeAtomically(chunk, "no sound");
    EXPECT_EQ(VoiceIsolation(config, profile).isolateVoice(chunk), chunk);
    EXPECT_EQ(VoiceIsolation(config, profile).isolateVoice(folder / "missing.wav"), folder / "missing.wav");
    files::writeAtomically(profile, "{}");
    EXPECT_TRUE(leaves(man + woman));
    files::removeQuietly(profile);
    EXPECT_TRUE(leaves(man + woman));
    storeVoiceProfile(measureVoice(clip("man-passage")), profile);
    config.update([](Settings& settings) { settings.voiceIsolation = false; });
    EXPECT_TRUE(leaves(man + woman));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(Isolation, AFullDiskLeavesTheRecordingAndALine) {
    const std::size_t before =
        static_cast<std::size_t>(std::distance(fs::directory_iterator(fs::temp_directory_path()), {}));
    ASSERT_FALSE(leaves(man + woman));
    files::removeQuietly(result);
    {
        const ScarceDisk scarce(20000);
        EXPECT_EQ(VoiceIsolation(config, profile).isolateVoice(chunk), chunk);
    }
    EXPECT_TRUE(log.containsPrefix("[Fenlo] ERROR: Voice isolation: failed to write filtered audio: "));
    EXPECT_EQ(std::distance(fs::directory_iterator(fs::temp_directory_path()), {}),
              static_cast<std::ptrdiff_t>(before));
}
