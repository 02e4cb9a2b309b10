#include "WhisperEngine/AudioProcessor/AudioProcessor.h"

#include "WhisperEngine/Logging.h"
#include "WhisperEngine/WhisperError.h"
#include "media/Level.h"
#include "support/EnvironmentVariable.h"
#include "support/Signals.h"
#include "support/SoundFiles.h"
#include "support/TemporaryFolder.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace fenlo;
using namespace fenlo::test;
using namespace fenlo::whisper;
using ::testing::Contains;
using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace fs = std::filesystem;

namespace {

constexpr int wavFloat = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

class Loading : public ::testing::Test {
protected:
    std::vector<float> load(const fs::path& file) {
        return processor.loadAudioAsFloatArray(
            file, config, {LogLevel::debug, [this](const auto& line) { lines.push_back(line); }}, stop.get_token());
    }
    std::string faultOf(const fs::path& file, WhisperError::Kind kind = WhisperError::Kind::loadAudioFailed) {
        try {
            load(file);
        } catch (const WhisperError& error) {
            EXPECT_EQ(error.kind, kind);
            return error.what();
        }
        return "";
    }
    /// `frames` times the same frame.
    std::vector<float> load(const std::vector<float>& frame, int frames = 1000) {
        std::vector<float> interleaved;
        for (int i = 0; i < frames; ++i)
            interleaved.insert(interleaved.end(), frame.begin(), frame.end());
        return load(writeSound(folder / "frames.wav", wavFloat, 16000, static_cast<int>(frame.size()), interleaved));
    }

    const TemporaryFolder folder;
    const AudioProcessor processor;
    AudioInputConfig config;
    std::stop_source stop;
    std::vector<std::string> lines;
};

} // namespace

TEST_F(Loading, AnyRateAndFormat_BecomesSixteenKilohertz) {
    const auto ideal = sine(0.5F, 1, 16000, 440);
    for (const auto& [name, format, rate] :
         std::vector<std::tuple<const char*, int, int>>{{"same.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000},
                                                        {"low.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 8000},
                                                        {"disc.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, 44100},
                                                        {"studio.aiff", SF_FORMAT_AIFF | SF_FORMAT_FLOAT, 48000}}) {
        const auto read = load(writeSound(folder / name, format, rate, 1, sine(0.5F, 1, rate, 440)));
        ASSERT_NEAR(static_cast<double>(read.size()), 16000, 2) << name;
        for (std::size_t i = 1000; i < 15000; ++i)
            ASSERT_NEAR(read[i], ideal[i], 1e-3) << name << " at " << i;
    }
    EXPECT_THAT(lines, Contains("Audio source details - Sample Rate: 44100 Hz, Channel Count: 1"));
    EXPECT_THAT(lines, Contains(StartsWith("Rounding buffer frame capacity from 23777.23 to better fit")));
}

TEST_F(Loading, Sum_KeepsAVoiceOnOneChannelAndNeverClips) {
    EXPECT_THAT(load({0.25F, 0.5F}), Each(0.75F));
    EXPECT_THAT(load({0.0F, 0.5F}), Each(0.5F));
    EXPECT_THAT(load({0.75F, 0.75F}), Each(1.0F)) << "1.5 is beyond full scale";
    EXPECT_THAT(load({1.5F}), Each(1.5F)) << "one channel is taken as it is";

    std::vector<float> broken(2000, 0.5F);
    broken[600] = 1e5F;
    const auto read = load(writeSound(folder / "broken.wav", wavFloat, 16000, 2, broken));
    EXPECT_FLOAT_EQ(read[0], 0.5F) << "one wrong sample never turns the rest down below the mean";
}

TEST_F(Loading, SpecificChannel_TakesTheValidOnesOrTheFirst) {
    config.channelMode = AudioInputConfig::ChannelMode::specificChannel;
    config.channels = {2, 1, 2, 7, -1};
    EXPECT_THAT(load({0.125F, 0.25F, 0.5F}), Each(0.75F));
    EXPECT_TRUE(std::ranges::none_of(lines, [](const auto& line) { return line.starts_with("No valid"); }));
    config.channels = {3};
    EXPECT_THAT(load({0.125F, 0.25F, 0.5F}), Each(0.125F));
    EXPECT_THAT(lines, Contains("No valid channel indices provided, defaulting to first channel"));
}

TEST_F(Loading, Faults_AreOneLineEach) {
    EXPECT_EQ(faultOf(folder / "no.wav"), "Resource path does not exist " + (folder / "no.wav").string());
    std::ofstream(folder / "empty.wav");
    std::ofstream(folder / "text.wav") << "this is no sound";
    ASSERT_EQ(::mkfifo((folder / "pipe.wav").c_str(), 0600), 0);
    const EnvironmentVariable noPrograms("PATH", "/nonexistent");
    for (const auto& [name, fault] : std::vector<std::pair<const char*, const char*>>{
             {"empty.wav", "empty"}, {"text.wav", "format"}, {"pipe.wav", "regular file"}, {"", "regular file"}})
        EXPECT_THAT(faultOf(folder / name),
                    AllOf(StartsWith("Failed to read audio file: "), HasSubstr(fault), Not(HasSubstr("\n"))));
    EXPECT_THAT(faultOf(writeSound(folder / "nothing.wav", wavFloat, 44100, 2, {})),
                AllOf(HasSubstr("nothing.wav"), HasSubstr("no samples")));
}

TEST_F(Loading, StopRequest_EndsIt) {
    stop.request_stop();
    faultOf(writeSound(folder / "sound.wav", wavFloat, 16000, 1, sine(0.5F, 1, 16000)), WhisperError::Kind::cancelled);
}

TEST(PadOrTrim, FillsTheTailWithZeros) {
    const AudioProcessor processor;
    const auto second = constant(0.5F, 16000);
    const auto window = processor.padOrTrim(second, 0, 480000);
    ASSERT_EQ(window.size(), 480000u);
    EXPECT_EQ(std::ranges::count(window, 0.5F), 16000);
    EXPECT_EQ(window[15999], 0.5F);
    EXPECT_EQ(window[16000], 0);
    EXPECT_THAT(processor.padOrTrim(std::vector{1.0F, 2.0F, 3.0F, 4.0F}, 1, 2), ::testing::ElementsAre(2, 3));
    EXPECT_THAT(processor.padOrTrim(std::vector{1.0F, 2.0F}, 1, 2), ::testing::ElementsAre(2, 0));
    for (const int outside : {-1, 16000}) {
        try {
            processor.padOrTrim(second, outside, 1);
            FAIL();
        } catch (const WhisperError& error) {
            EXPECT_EQ(error.kind, WhisperError::Kind::audioProcessingFailed);
            EXPECT_STREQ(error.what(), "startIndex is outside the buffer size");
        }
    }
}
