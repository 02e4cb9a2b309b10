// Takes that are recognised while they grow give the same words as the finished files, and only the rest is left.

#include "audio/ChunkWriter.h"
#include "audio/WavFile.h"
#include "golden/Golden.h"
#include "media/AudioFile.h"
#include "speech/ClipEngine.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::test;
using namespace fenlo::whisper::test;
namespace fs = std::filesystem;

namespace {

const fs::path sampleFolder = fs::path(GOLDEN_FOLDER).parent_path() / "golden-long";

class TakeWhileItGrows : public testing::Test {
protected:
    TakeWhileItGrows() {
        local.setup({}, {});
        local.early().begin();
    }
    ~TakeWhileItGrows() override { fs::remove(file); }

    /// The take has ended: its chunk file.
    void write() {
        std::vector<float> chunk = take;
        normalise(chunk);
        fs::remove(file);
        writeWav(file, chunk, 16000, WavEncoding::float32);
    }
    std::size_t hear(double seconds, LocalTranscriber::Extent extent) {
        std::vector<float> beginning(take.begin(), take.begin() + static_cast<std::ptrdiff_t>(seconds * 16000));
        normalise(beginning);
        return local.recogniseAhead(beginning, extent, "en", std::stop_source()).nextWindow;
    }
    std::string finish() {
        local.early().finish();
        const std::string text = local.transcribe(file, "en", {});
        taken = local.early().taken();
        local.early().begin(); // nothing is known any more
        EXPECT_EQ(text, local.transcribe(file, "en", {}));
        return text;
    }

    SystemClock clock;
    LocalTranscriber local{"small", files::temporaryFile("models_", ""),
                           [](auto&&...) {
                               static const std::shared_ptr engine = goldenEngine(
                                   whisper::ComputeUnit::automatic, sampleFolder / "model/model.safetensors");
                               return clipEngine(engine);
                           },
                           clock};
    const fs::path file = files::temporaryFile("take_", ".wav");
    std::vector<float> take;
    std::size_t taken = 0;
};

} // namespace

TEST_F(TakeWhileItGrows, LongTakesHaveTheWordsOfTheFinishedFiles) {
    std::size_t windows = 0;
    for (const auto& recording : golden(sampleFolder / "samples/samples.json")) {
        SCOPED_TRACE(recording["file"].get<std::string>());
        take = readSoundFile(sampleFolder / "samples" / recording["file"].get<std::string>(), ChannelMix::average).mono;
        const double seconds = static_cast<double>(take.size()) / 16000;
        write();
        local.early().begin();
        std::size_t next = 0;
        for (double heard = 30; heard < seconds; heard += 4)
            if (heard * 16000 >= static_cast<double>(next) + 30 * 16000)
                next = hear(heard, LocalTranscriber::Extent::fullWindows);
        EXPECT_FALSE(finish().empty());
        windows += taken;
    }
    EXPECT_GE(windows, 4u) << "of six takes whose loudest sound mostly comes in time";
}

TEST_F(TakeWhileItGrows, AfterAPauseNothingIsLeftToDo) {
    const auto clips = golden(fs::path(GOLDEN_FOLDER) / "samples/samples.json");
    int known = 0, all = 0;
    for (const auto& clip : clips) {
        SCOPED_TRACE(clip["file"].get<std::string>());
        take = readSoundFile(fs::path(GOLDEN_FOLDER) / "samples" / clip["file"].get<std::string>(), ChannelMix::average)
                   .mono;
        const double seconds = static_cast<double>(take.size()) / 16000;
        const std::vector<float> room(take.end() - 1600, take.end()); // the noise behind the words goes on
        for (int tenth = 0; tenth < 10; ++tenth)
            take.insert(take.end(), room.begin(), room.end());
        write();
        local.early().begin();
        hear(seconds + 0.3, LocalTranscriber::Extent::everything);
        finish();
        ++all;
        known += taken > 0 ? 1 : 0;
    }
    EXPECT_GE(known, all - 4) << "one of them is noise";
}
