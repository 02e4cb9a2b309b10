#include "media/AudioFile.h"

#include "base/Files.h"
#include "media/FfmpegProgram.h"
#include "support/SoundFiles.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <sys/stat.h>

using namespace fenlo;
using namespace fenlo::test;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

namespace fs = std::filesystem;

namespace {

class AudioFiles : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(folder); }
    void TearDown() override { fs::remove_all(folder); }

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
    static std::size_t temporaryFiles() {
        return static_cast<std::size_t>(
            std::ranges::count_if(fs::directory_iterator(fs::temp_directory_path()), [](const auto& entry) {
                return entry.path().filename().string().starts_with("fenlo_conv_");
            }));
    }

    const fs::path folder = fs::temp_directory_path() / "media-files";
};

/// A program called ffmpeg that is found first while this lives.
class StandInFfmpeg {
public:
    StandInFfmpeg(const fs::path& folder, const std::string& script) : m_path(std::getenv("PATH")) {
        std::ofstream(folder / "ffmpeg") << "#!/bin/sh\n" << script;
        fs::permissions(folder / "ffmpeg", fs::perms::owner_all);
        ::setenv("PATH", (folder.string() + ":" + m_path).c_str(), 1);
    }
    ~StandInFfmpeg() { ::setenv("PATH", m_path.c_str(), 1); }

private:
    const std::string m_path;
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
    const auto file = write("small.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 16000, 1, std::vector(1000, 0.1F));
    std::string bytes = files::read(file).value();
    bytes.replace(bytes.find("data") + 4, 4, "\xFF\xFF\xFF\x7F");
    std::ofstream(file, std::ios::binary) << bytes;
    EXPECT_EQ(readAudioFile(file).mono.size(), 1000u);
    bytes.replace(24, 4, std::string("\x01\x00\x00\x00", 4)); // a hertz
    std::ofstream(file, std::ios::binary) << bytes;
    EXPECT_THAT(errorOf(file), HasSubstr("sample rate of 1 Hz"));
}

TEST_F(AudioFiles, NotANumber_IsReadAsSilence) {
    const auto file = write("odd.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 16000, 1,
                            {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 0.5F});
    EXPECT_THAT(readAudioFile(file).mono, ::testing::ElementsAre(0.0F, 0.0F, 0.5F));
}

TEST_F(AudioFiles, Errors_NameFileFaultAndRemedyInOneLine) {
    std::ofstream(folder / "empty.wav");
    std::ofstream(folder / "text.mp4") << "no sound at all";
    for (const auto& [name, fault, remedy] : std::vector<std::tuple<std::string, std::string, std::string>>{
             {"missing.wav", "No such file", "check the name"},
             {"empty.wav", "empty", "record it again"},
             {".", "no regular file", "give the name"},
         })
        EXPECT_THAT(errorOf(folder / name),
                    AllOf(HasSubstr(name), HasSubstr(fault), HasSubstr(remedy), Not(HasSubstr("\n"))));
}

TEST_F(AudioFiles, UnknownFormat_GoesThroughFfmpeg) {
    const fs::path strange = folder / "-strange name.mp4";
    std::ofstream(strange) << "some container";
    write("inside.wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 22050, 1, {0.1F, 0.2F});
    // The last argument is where the result goes; the input must arrive as one argument that no option can be.
    const std::string findEnds = "for last; do case \"$last\" in file:*strange*) in=\"$last\";; esac; done\n";
    {
        const StandInFfmpeg ffmpeg(folder, findEnds + "[ \"$in\" = 'file:" + strange.string() + "' ] || exit 3\ncp '" +
                                               (folder / "inside.wav").string() + "' \"${last#file:}\"\n");
        const AudioSamples audio = readAudioFile(strange);
        EXPECT_EQ(audio.sampleRate, 22050);
        EXPECT_EQ(audio.mono.size(), 2u);
    }
    {
        const StandInFfmpeg ffmpeg(folder, "exit 1\n");
        EXPECT_THAT(errorOf(strange), AllOf(HasSubstr("strange name.mp4"), HasSubstr("ffmpeg cannot read it")));
    }
    const std::string path = std::getenv("PATH");
    ::setenv("PATH", "/nonexistent", 1);
    EXPECT_THAT(errorOf(strange), AllOf(HasSubstr("strange name.mp4"), HasSubstr("install ffmpeg")));
    ::setenv("PATH", path.c_str(), 1);
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

TEST_F(AudioFiles, HostileLengths_ReserveNoMoreThanTheSizeBearsOut) {
    const auto file = write("small.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 16000, 1, std::vector(1000, 0.1F));
    std::string bytes = files::read(file).value();
    bytes.replace(bytes.find("data") + 4, 4, "\xFF\xFF\xFF\x7F");
    std::ofstream(file, std::ios::binary) << bytes;
    EXPECT_LE(AudioFileReader(file, AudioFormats::sndfile).expectedFrames(), bytes.size() * 64);
    // Below 16 kHz the limit is lower in proportion, since every sample becomes several: a file with holes is enough.
    write("endless.wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 1000, 1, {0});
    bytes = files::read(folder / "endless.wav").value();
    bytes.replace(bytes.find("data") + 4, 4, "\xFF\xFF\xFF\x7F");
    std::ofstream(folder / "endless.wav", std::ios::binary) << bytes;
    fs::resize_file(folder / "endless.wav", (1 << 24) + 4096);
    EXPECT_THAT(errorOf(folder / "endless.wav"), HasSubstr("too long; cut it into shorter pieces"));
}

TEST_F(AudioFiles, Pipe_IsRefusedAndNotWaitedFor) {
    ASSERT_EQ(::mkfifo((folder / "pipe.wav").c_str(), 0600), 0);
    EXPECT_THAT(errorOf(folder / "pipe.wav"), HasSubstr("no regular file"));
}

TEST_F(AudioFiles, Ffmpeg_IsStoppedAndLeavesNoFile) {
    const fs::path strange = folder / "film.mp4";
    std::ofstream(strange) << "some container";
    const std::size_t before = temporaryFiles();
    const std::string toOutput = "for last; do :; done\n";
    {
        const StandInFfmpeg ffmpeg(folder, "exec tail -f /dev/null\n");
        std::stop_source stop;
        stop.request_stop();
        EXPECT_THAT(errorOf(strange, stop.get_token()), HasSubstr("reading was stopped"));
    }
    {
        const StandInFfmpeg ffmpeg(folder, toOutput + "truncate -s 2G \"${last#file:}\"\n");
        EXPECT_THAT(errorOf(strange), AllOf(HasSubstr("film.mp4"), HasSubstr("too long")))
            << "what reached the limit has been cut off";
    }
    {
        const StandInFfmpeg ffmpeg(folder, toOutput + "echo no sound > \"${last#file:}\"\n");
        EXPECT_THAT(errorOf(strange), AllOf(HasSubstr("film.mp4"), HasSubstr("ffmpeg cannot read it")));
    }
    EXPECT_EQ(temporaryFiles(), before);
}
