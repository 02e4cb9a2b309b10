#include "audio/ChunkWriter.h"
#include "audio/Level.h"
#include "audio/WavFile.h"
#include "base/Files.h"
#include "media/AudioFile.h"
#include "media/AudioFileError.h"
#include "support/ScarceDisk.h"
#include "support/Signals.h"
#include "support/TemporaryFolder.h"

#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace fenlo;
using namespace fenlo::test;

namespace fs = std::filesystem;

namespace {

class AudioFiles : public ::testing::Test {
protected:
    const TemporaryFolder folder;
};

} // namespace

TEST(Resampling, IsLeftOutWithinOneHertz) {
    const auto samples = sine(0.3F, 0.1, 16000);
    EXPECT_EQ(resampleForChunk(samples, 16000), samples);
    EXPECT_EQ(resampleForChunk(samples, 16001), samples);
    EXPECT_NE(resampleForChunk(samples, 16001.5), samples);
    EXPECT_TRUE(resampleForChunk(std::vector{0.1F, 0.2F}, 48000).empty()) << "a third of two samples is less than one";
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
    const AudioSamples read = readSoundFile(*file, ChannelMix::first);
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
    EXPECT_THROW(writeWav("/nonexistent/x.wav", {}, 16000, WavEncoding::int16), AudioFileError);
}

TEST_F(AudioFiles, SixteenBit_ClipsInsteadOfWrapping) {
    writeWav(folder / "loud.wav", std::vector{2.0F, -2.0F, 0.5F}, 16000, WavEncoding::int16);
    const auto read = readSoundFile(folder / "loud.wav", ChannelMix::first).mono;
    ASSERT_EQ(read.size(), 3u);
    EXPECT_NEAR(read[0], 1.0F, 1e-3);
    EXPECT_NEAR(read[1], -1.0F, 1e-3);
    EXPECT_NEAR(read[2], 0.5F, 1e-3);
}
