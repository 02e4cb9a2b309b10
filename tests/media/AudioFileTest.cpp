#include "media/AudioFile.h"

#include "base/Files.h"
#include "support/EnvironmentVariable.h"
#include "support/Signals.h"
#include "support/SoundFiles.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <sys/stat.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace fs = std::filesystem;

namespace {

class AudioFiles : public ::testing::Test {
protected:
    fs::path write(const std::string& name, int format, int rate, int channels, const std::vector<float>& interleaved) {
        return writeSound(folder / name, format, rate, channels, interleaved);
    }
    static std::string errorOf(const fs::path& file, std::stop_token stop = {}) {
        try {
            AudioFileReader reader(file, AudioFormats::withFfmpeg, stop);
            while (!reader.nextBlock().empty()) {
            }
        } catch (const AudioFileError& error) {
            return error.what();
        }
        return "";
    }
    static std::vector<std::string> told(const Recording& recording) {
        std::vector<std::string> lines;
        std::ranges::transform(recording.damages, std::back_inserter(lines), describe);
        return lines;
    }

    const TemporaryFolder folder;
};

constexpr int auFloat = SF_FORMAT_AU | SF_FORMAT_FLOAT;

/// A program called ffmpeg that is found first while this lives.
class StandInFfmpeg {
public:
    StandInFfmpeg(const fs::path& folder, const std::string& script)
        : m_path("PATH", (folder.string() + ":" + std::getenv("PATH")).c_str()) {
        std::ofstream(folder / "ffmpeg") << "#!/bin/sh\n" << script;
        fs::permissions(folder / "ffmpeg", fs::perms::owner_all);
    }

private:
    const EnvironmentVariable m_path;
};

} // namespace

TEST_F(AudioFiles, Channels_AreChosenOrAveraged) {
    std::vector<float> stereo;
    for (int i = 0; i < 70000; ++i) // more than one block
        stereo.insert(stereo.end(), {0.5F, -0.25F});
    const auto file = write("stereo.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 44100, 2, stereo);
    const AudioSamples first = readSoundFile(file, ChannelMix::first);
    EXPECT_EQ(first.sampleRate, 44100);
    ASSERT_EQ(first.mono.size(), 70000u);
    EXPECT_NEAR(first.mono[69999], 0.5F, 1e-4);
    EXPECT_NEAR(readSoundFile(file, ChannelMix::average).mono[69999], 0.125F, 1e-4);
}

TEST_F(AudioFiles, HostileHeader_CostsNoMoreThanTheFileHolds) {
    const auto file = write("small.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 16000, 1, std::vector(1000, 0.1F));
    std::string bytes = files::read(file).value();
    bytes.replace(bytes.find("data") + 4, 4, "\xFF\xFF\xFF\x7F");
    std::ofstream(file, std::ios::binary) << bytes;
    EXPECT_EQ(readSoundFile(file, ChannelMix::first).mono.size(), 1000u);
    EXPECT_LE(AudioFileReader(file, AudioFormats::sndfile).expectedFrames(), bytes.size() * 64);
    bytes.replace(24, 4, std::string("\x01\x00\x00\x00", 4)); // a hertz
    std::ofstream(file, std::ios::binary) << bytes;
    EXPECT_THAT(errorOf(file), HasSubstr("sample rate of 1 Hz"));
}

TEST_F(AudioFiles, NotANumber_IsReadAsSilence) {
    const auto file = write("odd.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 16000, 1,
                            {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 0.5F});
    EXPECT_THAT(readSoundFile(file, ChannelMix::first).mono, ::testing::ElementsAre(0.0F, 0.0F, 0.5F));
}

TEST_F(AudioFiles, Errors_NameFileFaultAndRemedyInOneLine) {
    std::ofstream(folder / "empty.wav");
    ASSERT_EQ(::mkfifo((folder / "pipe.wav").c_str(), 0600), 0);
    for (const auto& [name, fault, remedy] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"missing.wav", "No such file", "check the name"},
             {"empty.wav", "empty", "record it again"},
             {".", "no regular file", "give the name"},
             {"pipe.wav", "no regular file", "give the name"},
         })
        EXPECT_THAT(errorOf(folder / name),
                    AllOf(HasSubstr(name), HasSubstr(fault), HasSubstr(remedy), Not(HasSubstr("\n"))));
}

TEST_F(AudioFiles, UnknownFormat_GoesThroughFfmpeg) {
    const fs::path strange = folder / "-strange name.mp4";
    std::ofstream(strange) << "some container";
    const std::string send = "cat '" + write("in.au", auFloat, 22050, 2, sine(0.5F, 10, 22050)).string() + "'\n";
    {
        // The file must arrive as one argument that cannot be taken for an option.
        const StandInFfmpeg ffmpeg(folder, "for one; do [ \"$one\" = 'file:" + strange.string() + "' ] && " + send +
                                               "done\nexit 0\n");
        const Recording recording = readRecording(strange, 22050);
        EXPECT_EQ(recording.samples.size(), 110250u);
        EXPECT_THAT(recording.damages, ::testing::IsEmpty());
    }
    {
        const StandInFfmpeg ffmpeg(folder, send + "echo partial file >&2\nexit 0\n");
        EXPECT_THAT(told(readRecording(strange, 22050)), ElementsAre("cut off at 5.0 s"));
    }
    {
        const StandInFfmpeg ffmpeg(folder, send + "kill -9 $$\n");
        EXPECT_THAT(told(readRecording(strange, 22050)), ElementsAre("cut off at 5.0 s")) << "and not taken for whole";
    }
    {
        const StandInFfmpeg ffmpeg(folder, "echo '[mov @ 0x1] moov atom not found' >&2\nexit 1\n");
        EXPECT_THAT(errorOf(strange), AllOf(HasSubstr("strange name.mp4"), HasSubstr("cannot read it either (moov")));
    }
    const EnvironmentVariable noPrograms("PATH", "/nonexistent");
    EXPECT_THAT(errorOf(strange), AllOf(HasSubstr("strange name.mp4"), HasSubstr("install ffmpeg")));
}

TEST_F(AudioFiles, Reader_GivesEveryFrameInBlocksThatFit) {
    std::vector<float> ramp(3 * 50001);
    for (std::size_t i = 0; i < ramp.size(); ++i)
        ramp[i] = static_cast<float>(i) / static_cast<float>(ramp.size());
    const auto file = write("ramp.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 44100, 3, ramp);
    AudioFileReader reader(file, AudioFormats::sndfile);
    EXPECT_EQ(reader.sampleRate(), 44100);
    EXPECT_EQ(reader.channels(), 3);
    EXPECT_EQ(reader.expectedFrames(), 50001u);
    std::vector<float> read;
    for (auto block = reader.nextBlock(); !block.empty(); block = reader.nextBlock()) {
        EXPECT_LE(block.size(), 3 * reader.blockFrames());
        EXPECT_EQ(block.size() % 3, 0u);
        read.insert(read.end(), block.begin(), block.end());
    }
    EXPECT_EQ(read, ramp);
    EXPECT_TRUE(reader.nextBlock().empty());
}

TEST_F(AudioFiles, RecordingOfMoreThanADay_IsRefused) {
    // Most of it is a hole in the file.
    write("endless.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1000, 1, {0});
    std::string bytes = files::read(folder / "endless.wav").value();
    bytes.replace(bytes.find("data") + 4, 4, "\xFF\xFF\xFF\x7F");
    std::ofstream(folder / "endless.wav", std::ios::binary) << bytes;
    fs::resize_file(folder / "endless.wav", 24 * 3600 * 1000 + 65536);
    EXPECT_THAT(errorOf(folder / "endless.wav"), HasSubstr("longer than a day; cut it"));
}

TEST_F(AudioFiles, Ffmpeg_IsStopped) {
    const fs::path strange = folder / "film.mp4";
    std::ofstream(strange) << "some container";
    const StandInFfmpeg ffmpeg(folder, "exec tail -f /dev/null\n");
    std::stop_source stop;
    stop.request_stop();
    EXPECT_THAT(errorOf(strange, stop.get_token()), HasSubstr("reading was stopped"));
}

TEST_F(AudioFiles, WrongLengthInTheHeader_LosesNothing) {
    const auto ramp = sine(0.5F, 10, 16000);
    const auto file = write("take.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16, 16000, 1, ramp);
    const std::string sound = files::read(file).value();
    const auto withSize = [&](const char* size, std::size_t length) {
        std::string bytes = sound.substr(0, length);
        bytes.replace(bytes.find("data") + 4, 4, std::string(size, 4));
        std::ofstream(file, std::ios::binary) << bytes;
        return readRecording(file, 16000);
    };
    for (const char* size : {"\0\0\0\0", "\xFF\xFF\xFF\xFF", "\xFF\xFF\xFF\x7F", "\0\x10\0\0"}) {
        const Recording recording = withSize(size, sound.size());
        EXPECT_EQ(recording.samples.size(), ramp.size()) << "a recorder was killed, or could not tell beforehand";
        EXPECT_THAT(told(recording), ::testing::IsEmpty());
    }
    const Recording cut = withSize("\0\xE2\x04\0", sound.size() - 128000); // 320,000 bytes
    EXPECT_EQ(cut.samples.size(), 96000u);
    EXPECT_THAT(told(cut), ElementsAre("cut off at 6.0 s, 4.0 s lost"));
    fs::resize_file(file, 44);
    EXPECT_THAT(errorOf(file), ::testing::IsEmpty());
    EXPECT_THROW(readRecording(file, 16000), AudioFileError) << "no samples";
}

/// After damage every sound is at its time.
TEST_F(AudioFiles, DamageInTheMiddle_IsReportedAndKeepsTheRestInPlace) {
    std::vector<float> sweep(16000 * 30);
    for (std::size_t i = 0; i < sweep.size(); ++i)
        sweep[i] = 0.5F * static_cast<float>(std::sin(1e-6 * static_cast<double>(i) * static_cast<double>(i)));
    for (const auto& [name, format, tolerance] : std::vector<std::tuple<std::string, int, std::size_t>>{
             {"a.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 0},
             {"a.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 0},
             {"a.opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, 400},
             {"a.mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 3 * 1152}}) {
        const auto file = write(name, format, 16000, 1, sweep);
        const Recording whole = readRecording(file, 16000);
        EXPECT_THAT(told(whole), ::testing::IsEmpty()) << name;
        std::string bytes = files::read(file).value();
        for (std::size_t i = bytes.size() / 2; i < bytes.size() * 11 / 20; ++i)
            bytes[i] = static_cast<char>(i * 31 % 251);
        std::ofstream(file, std::ios::binary) << bytes;
        const Recording hurt = readRecording(file, 16000);
        ASSERT_EQ(hurt.damages.size(), 1u) << name;
        const double start = hurt.damages[0].start, lost = hurt.damages[0].lost.value_or(0);
        EXPECT_TRUE(start > 9 && start + lost < 21 && lost > 0.5) << name << " " << describe(hurt.damages[0]);
        EXPECT_NEAR(static_cast<double>(hurt.samples.size()), static_cast<double>(whole.samples.size()),
                    static_cast<double>(tolerance))
            << name;
        if (tolerance > 0)
            continue; // the same sound follows, slightly shifted
        double difference = 0;
        for (std::size_t i = 16000 * 22; i < sweep.size(); ++i)
            difference = std::max(difference, std::abs(static_cast<double>(hurt.samples[i] - whole.samples[i])));
        EXPECT_LT(difference, 1e-3) << name;
    }
}

TEST_F(AudioFiles, CutRecordings_AreReadToTheCut) {
    const auto sound = sine(0.5F, 30, 16000);
    for (const auto& [name, format] :
         std::vector<std::pair<std::string, int>>{{"a.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
                                                  {"a.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
                                                  {"a.opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
                                                  {"a.mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
                                                  {"a.caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16},
                                                  {"a.aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24}}) {
        const auto file = write(name, format, 16000, 1, sound);
        fs::resize_file(file, fs::file_size(file) * 2 / 3);
        const Recording recording = readRecording(file, 16000);
        EXPECT_NEAR(static_cast<double>(recording.samples.size()) / 16000, 18, 4) << name;
        EXPECT_THAT(told(recording), ElementsAre(HasSubstr("cut off at"))) << name;
    }
}
