#include "media/AudioFile.h"
#include "support/SessionFixture.h"
#include "support/Signals.h"
#include "support/WaitUntil.h"

#include <algorithm>

using namespace fenlo;
using namespace fenlo::test;

namespace {

class EarlyRecognitionTest : public SessionFixture {
protected:
    EarlyRecognitionTest() {
        earlySteps.isWanted = [this] { return isWanted; };
        earlySteps.finish = [this] { ++finished; };
        earlySteps.forget = [this] { ++forgotten; };
        earlySteps.recognise = [this](std::span<const float> samples, EarlySteps::Extent extent,
                                      const std::stop_source& source) {
            asked.push_back({extent, {samples.begin(), samples.end()}});
            stop = source;
            return nextWindow;
        };
        earlySteps.recogniseChunk = [this](const auto& chunk, auto&&) { chunks.push_back(chunk); };
    }

    void hear(std::vector<float> sound) {
        audioInput.hear(sound);
        mainQueue.advance(static_cast<double>(sound.size()) / audioInput.microphone.format.sampleRate);
    }
    void beQuiet(double seconds) {
        for (double quiet = 0; quiet < seconds - 0.05; quiet += 0.1)
            hear(silence(1600));
    }
    void work() {
        background.runAll();
        mainQueue.runPosted();
    }

    struct Asked {
        EarlySteps::Extent extent;
        std::vector<float> samples;
    };
    bool isWanted = true;
    std::vector<Asked> asked;
    std::vector<std::filesystem::path> chunks;
    std::stop_source stop{std::nostopstate};
    std::size_t nextWindow = 25 * 16000;
    int finished = 0, forgotten = 0;
};

constexpr auto fullWindows = EarlySteps::Extent::fullWindows;
constexpr auto everything = EarlySteps::Extent::everything;

} // namespace

TEST_F(EarlyRecognitionTest, AWindowIsAskedForWhenItIsFull_WithTheSamplesOfTheFinishedFile) {
    session.hotkeyPressed();
    speak(29);
    work();
    EXPECT_TRUE(asked.empty());
    speak(2);
    work();
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].extent, fullWindows);
    EXPECT_GE(asked[0].samples.size(), 30u * 16000);
    speak(23);
    work();
    EXPECT_EQ(asked.size(), 1u);
    speak(2); // thirty seconds behind the window that was left out
    work();
    ASSERT_EQ(asked.size(), 2u);

    std::vector<float> file;
    onTranscribe = [&](const TranscribeRequest& request) {
        file = readSoundFile(request.audio, ChannelMix::average).mono;
        EXPECT_EQ(finished, 1);
    };
    const int before = forgotten;
    session.hotkeyReleased();
    finish();
    for (const Asked& beginning : asked) {
        ASSERT_LE(beginning.samples.size(), file.size());
        EXPECT_TRUE(std::ranges::equal(beginning.samples, std::span(file).first(beginning.samples.size())));
    }
    EXPECT_EQ(forgotten, before + 1);
}

TEST_F(EarlyRecognitionTest, APauseIsRecognisedOnce_AndGivenUpWhenTheUserGoesOn) {
    session.hotkeyPressed();
    speak(2);
    beQuiet(0.2);
    work();
    EXPECT_TRUE(asked.empty());
    beQuiet(0.4);
    work();
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].extent, everything);
    EXPECT_NEAR(*std::ranges::max_element(asked[0].samples), 0.707, 0.01) << "raised as in the chunk's file";
    beQuiet(1);
    work();
    EXPECT_EQ(asked.size(), 1u);

    speak(1);
    beQuiet(0.6);
    EXPECT_EQ(background.pending(), 1u);
    work();
    ASSERT_EQ(asked.size(), 2u);
    speak(1);
    beQuiet(0.6);
    speak(0.5); // before the worker gets to it
    work();
    ASSERT_EQ(asked.size(), 3u);
    EXPECT_TRUE(stop.stop_requested());
}

TEST_F(EarlyRecognitionTest, AChordEndsItAtOnce_AndWithoutAnEngineNothingIsAsked) {
    session.hotkeyPressed();
    speak(2);
    beQuiet(0.6);
    background.runAll(); // its end has not come back yet
    ASSERT_EQ(asked.size(), 1u);
    const int before = forgotten;
    session.chordDetected();
    EXPECT_TRUE(stop.stop_requested());
    EXPECT_EQ(forgotten, before + 1);
    finish();

    isWanted = false;
    session.hotkeyPressed();
    speak(31);
    beQuiet(0.6);
    work();
    session.hotkeyReleased();
    finish();
    EXPECT_EQ(asked.size(), 1u);
}

TEST_F(EarlyRecognitionTest, ALouderWordHasTheWindowsRecognisedAgain) {
    session.hotkeyPressed();
    speak(31);
    work();
    ASSERT_EQ(asked.size(), 1u);
    hear(sine(0.4F, 0.5, 16000));
    beQuiet(0.6);
    work();
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[1].extent, fullWindows);
    beQuiet(0.2);
    work();
    ASSERT_EQ(asked.size(), 3u);
    EXPECT_EQ(asked[2].extent, everything);
    session.hotkeyReleased();
    finish();
}

TEST_F(EarlyRecognitionTest, AChunkIsRecognisedWhenItIsCut) {
    session.hotkeyPressed();
    speak(241);
    ASSERT_TRUE(waitUntil(60, [&] { return recorder.chunkFiles().size() == 1; }));
    work();
    speak(0.5);
    work();
    speak(0.2);
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_EQ(chunks, recorder.chunkFiles());
    asked.clear();
    beQuiet(0.6);
    work();
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_LT(asked[0].samples.size(), 20u * 16000) << "of the chunk behind the cut";
    session.hotkeyReleased();
    finish();
}
