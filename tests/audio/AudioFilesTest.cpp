#include "Signals.h"
#include "audio/ChunkWriter.h"
#include "audio/Level.h"
#include "audio/WavFile.h"
#include "base/Files.h"
#include "media/AudioFile.h"
#include "support/ScarceDisk.h"

#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>
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
        const fs::path file = folder / name;
        SF_INFO info{};
        info.samplerate = rate;
        info.channels = channels;
        info.format = format;
        SNDFILE* sound = ::sf_open(file.c_str(), SFM_WRITE, &info);
        ::sf_write_float(sound, interleaved.data(), static_cast<sf_count_t>(interleaved.size()));
        ::sf_close(sound);
        return file;
    }
    static std::string errorOf(const fs::path& file) {
        try {
            readAudioFile(file);
        } catch (const AudioFileError& error) {
            return error.what();
        }
        return "";
    }

    const fs::path folder = fs::temp_directory_path() / "audio-files";
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

TEST(Resampling, IsLeftOutWithinOneHertz) {
    const auto samples = sine(0.3F, 0.1, 16000);
    EXPECT_EQ(resampleForChunk(samples, 16000), samples);
    EXPECT_EQ(resampleForChunk(samples, 16001), samples);
    EXPECT_NE(resampleForChunk(samples, 16001.5), samples);
    EXPECT_TRUE(resampleForChunk(std::vector{0.1F, 0.2F}, 48000).empty()) << "a third of two samples is none";
}

TEST(Resampling, InterpolatesBetweenNeighbours) {
    EXPECT_THAT(resampleForChunk(std::vector{0.0F, 0.1F, 0.2F, 0.3F, 0.4F, 0.5F}, 48000),
                ::testing::ElementsAre(0.0F, 0.3F));
    const auto raised = resampleForChunk(std::vector{0.0F, 0.4F}, 8000);
    EXPECT_THAT(raised, ::testing::ElementsAre(0.0F, 0.2F, 0.4F, 0.4F)) << "the last sample has no right neighbour";
}

TEST(Normalising, RaisesQuietSamplesOnly) {
    const auto peakAfter = [](float level) {
        auto samples = std::vector{0.0F, -level, level / 2};
        normalise(samples);
        return peak(samples);
    };
    EXPECT_FLOAT_EQ(peakAfter(0.5F), 0.707F);
    EXPECT_FLOAT_EQ(peakAfter(0.002F), 0.707F);
    EXPECT_FLOAT_EQ(peakAfter(0.7F), 0.7F);
    EXPECT_FLOAT_EQ(peakAfter(0.001F), 0.001F);
    EXPECT_FLOAT_EQ(peakAfter(0.95F), 0.95F);
    EXPECT_EQ(peakAfter(0), 0);
}

TEST_F(AudioFiles, Chunk_IsAFloatWavForItsOwnerOnly) {
    const auto file = writeChunk(sine(0.25F, 1, 48000), 48000);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->parent_path(), fs::temp_directory_path());
    EXPECT_TRUE(::testing::internal::RE::FullMatch(file->filename().string(),
                                                   "[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.wav"))
        << *file;
    struct stat status {};
    ASSERT_EQ(::stat(file->c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);

    const std::string bytes = files::read(*file).value();
    const auto number = [&](std::size_t at, int size) {
        std::uint32_t value = 0;
        std::memcpy(&value, bytes.data() + at, static_cast<std::size_t>(size));
        return value;
    };
    EXPECT_EQ(bytes.substr(0, 4), "RIFF");
    EXPECT_EQ(number(20, 2), 3u) << "IEEE float";
    EXPECT_EQ(number(22, 2), 1u);
    EXPECT_EQ(number(24, 4), 16000u);
    EXPECT_EQ(number(34, 2), 32u);
    const AudioSamples read = readAudioFile(*file);
    EXPECT_EQ(read.mono.size(), 16000u);
    EXPECT_NEAR(peak(read.mono), 0.707F, 1e-3);
    fs::remove(*file);
}

TEST_F(AudioFiles, FailedWrite_LeavesNoFile) {
    const auto countFiles = [] {
        return std::distance(fs::directory_iterator(fs::temp_directory_path()), fs::directory_iterator());
    };
    const auto before = countFiles();
    {
        const ScarceDisk scarce(20000);
        EXPECT_FALSE(writeChunk(sine(0.1F, 1, 16000), 16000));
    }
    EXPECT_EQ(countFiles(), before);
    EXPECT_THROW(writeWav("/nonexistent/x.wav", {}, 16000, WavEncoding::int16), WavFileError);
}

TEST_F(AudioFiles, SixteenBit_ClipsInsteadOfWrapping) {
    writeWav(folder / "loud.wav", std::vector{2.0F, -2.0F, 0.5F}, 16000, WavEncoding::int16);
    const auto read = readSoundFile(folder / "loud.wav", ChannelMix::first).mono;
    ASSERT_EQ(read.size(), 3u);
    EXPECT_NEAR(read[0], 1.0F, 1e-3);
    EXPECT_NEAR(read[1], -1.0F, 1e-3);
    EXPECT_NEAR(read[2], 0.5F, 1e-3);
}

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
