#include "media/AudioFile.h"
#include "media/LastSound.h"
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
        earlySteps.reach = [this] { return reach; };
        earlySteps.finish = [this] { ++finished; };
        earlySteps.forget = [this] { ++forgotten; };
        earlySteps.recognise = [this](std::span<const float> samples, EarlySteps::Extent extent,
                                      const TranscribeRequest&, const std::stop_source& source) {
            asked.push_back({extent, {samples.begin(), samples.end()}});
            stop = source;
            return EarlySteps::Heard{nextWindow, heard};
        };
        earlySteps.recogniseChunk = [this](const TranscribeRequest& request, const std::stop_source& source) {
            chunks.push_back(request);
            stop = source;
            if (heard.empty())
                throw TranscriberError(TranscriberError::Kind::networkError, "the server is away");
            return heard;
        };
    }

    void hear(std::vector<float> sound) {
        audioInput.hear(sound);
        mainQueue.advance(static_cast<double>(sound.size()) / audioInput.microphone.format.sampleRate);
    }
    void beQuiet(double seconds) {
        for (double quiet = 0; quiet < seconds - 0.05; quiet += 0.1)
            hear(silence(1600));
    }
    /// As long as it takes for the next chunk.
    void speakToTheCut(const std::function<void()>& doWork) {
        const std::size_t before = recorder.chunkFiles().size();
        speak(241);
        ASSERT_TRUE(waitUntil(60, [&] { return recorder.chunkFiles().size() == before + 1; }));
        for (int i = 0; i < 5; ++i) { // a second of it at each look
            speak(0.2);
            doWork();
        }
    }
    void speakToTheCut() {
        speakToTheCut([this] { work(); });
    }
    void work() {
        background.runAll();
        mainQueue.runPosted();
    }

    struct Asked {
        EarlySteps::Extent extent;
        std::vector<float> samples;
    };
    EarlyReach reach = EarlyReach::everything;
    std::vector<Asked> asked;
    std::string heard = "heard";
    std::vector<TranscribeRequest> chunks;
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

TEST_F(EarlyRecognitionTest, TheReleaseAsksForAPauseThatIsLongEnoughToEndTheFile) {
    session.hotkeyPressed();
    speak(1.8);
    hear(silence(4000)); // a quarter of a second, of which the recorder hands on 4096 samples at a time
    work();
    EXPECT_TRUE(asked.empty());
    std::vector<float> file;
    onTranscribe = [&](const TranscribeRequest& request) {
        file = readSoundFile(request.audio, ChannelMix::average).mono;
    };
    session.hotkeyReleased();
    finish();
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].extent, everything);
    const auto upToItsEnd = [](std::span<const float> samples) { return samples.first(behindLastSound(samples)); };
    EXPECT_TRUE(std::ranges::equal(upToItsEnd(asked[0].samples), upToItsEnd(file))) << "what the finished file asks";

    session.hotkeyPressed();
    speak(2);
    session.hotkeyReleased(); // within a word
    finish();
    EXPECT_EQ(asked.size(), 1u);
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

    reach = EarlyReach::nothing;
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
    EXPECT_EQ(chunks[0].audio, recorder.chunkFiles().at(0));
    asked.clear();
    beQuiet(0.6);
    work();
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_LT(asked[0].samples.size(), 20u * 16000) << "of the chunk behind the cut";
    session.hotkeyReleased();
    finish();
}

TEST_F(EarlyRecognitionTest, ToAServiceGoWholeChunksWithTheWordsBeforeThem_AsLongAsNoneFails) {
    reach = EarlyReach::chunks;
    heard = "One.";
    session.hotkeyPressed();
    speakToTheCut();
    ASSERT_EQ(chunks.size(), 1u);
    EXPECT_EQ(chunks[0].appName, "org.xfce.mousepad");
    EXPECT_FALSE(chunks[0].hintText);
    beQuiet(0.6);
    work();
    EXPECT_TRUE(asked.empty()) << "neither windows nor pauses";
    heard.clear();
    speakToTheCut();
    ASSERT_EQ(chunks.size(), 2u);
    EXPECT_EQ(chunks[1].hintText, "One.");
    EXPECT_EQ(chunks[1].audio, recorder.chunkFiles().at(1));
    speakToTheCut();
    EXPECT_EQ(chunks.size(), 2u) << "it would be asked without the words before it";

    session.chordDetected();
    finish();
}

TEST_F(EarlyRecognitionTest, ACancelStopsTheUploadThatTheTakeWaitsFor_AndLaterLeavesTheNextTakeAlone) {
    reach = EarlyReach::chunks;
    session.hotkeyPressed();
    speakToTheCut([] {});
    background.runAll(); // its end has not come back yet
    ASSERT_EQ(chunks.size(), 1u);
    session.hotkeyReleased();
    EXPECT_FALSE(stop.stop_requested());
    session.cancelProcessing();
    EXPECT_TRUE(stop.stop_requested());
    const int before = finished;
    session.hotkeyPressed();
    finish(); // the take that was cancelled comes to its end
    EXPECT_EQ(finished, before) << "and leaves the new one alone";
    session.chordDetected();
}

class WordsInThePill : public EarlyRecognitionTest {
protected:
    WordsInThePill() {
        config.update([](Settings& s) { s.showWordsInPill = true; });
        heard = "The first\nwords";
        nextWindow = 0;
    }
    bool hasWords() { return pillText().find("first words") != std::string::npos; }
    void sayAndPause() {
        speak(2);
        beQuiet(0.6);
        work();
    }
};

TEST_F(WordsInThePill, StandThereAfterAPause_AndGoAtOnceWithAChord) {
    session.hotkeyPressed();
    EXPECT_FALSE(hasWords());
    const double width = pills.last().width;
    sayAndPause();
    EXPECT_TRUE(hasWords());
    EXPECT_EQ(pills.last().width, width);
    speak(2);
    beQuiet(0.6);
    session.chordDetected();
    finish(); // with words that come too late
    EXPECT_EQ(pills.last().line().find("words"), std::string::npos) << "not even while it fades";

    session.hotkeyPressed();
    EXPECT_FALSE(hasWords()) << "of another take";
    sayAndPause();
    session.hotkeyReleased();
    finish();
    EXPECT_EQ(pills.last().line().find("words"), std::string::npos);
}

TEST_F(WordsInThePill, NeverGetLess) {
    heard = "The first words and more";
    session.hotkeyPressed();
    speak(29.2);
    beQuiet(0.5);
    work();
    EXPECT_TRUE(hasWords());
    nextWindow = 25 * 16000;
    heard = "The first";
    speak(1);
    work();
    EXPECT_EQ(asked.back().extent, fullWindows);
    EXPECT_TRUE(hasWords());
    session.chordDetected();
}

TEST_F(WordsInThePill, AreKeptFromItWhereTheUserTheServiceOrThePowerDoesNotAllowThem) {
    const auto widthWithoutRoom = [this] {
        session.hotkeyPressed();
        sayAndPause();
        EXPECT_FALSE(hasWords());
        const double width = pills.last().width;
        session.chordDetected();
        finish();
        return width;
    };
    config.update([](Settings& s) { s.showWordsInPill = false; });
    const double narrow = widthWithoutRoom();
    config.update([](Settings& s) { s.showWordsInPill = true; });
    reach = EarlyReach::chunks;
    EXPECT_EQ(widthWithoutRoom(), narrow);
    reach = EarlyReach::everything;
    earlySteps.mayWork = [] { return false; };
    EXPECT_GT(widthWithoutRoom(), narrow) << "that the power is gone is found out in this take";
    EXPECT_EQ(widthWithoutRoom(), narrow);
    earlySteps.mayWork = [] { return true; };
    EXPECT_EQ(widthWithoutRoom(), narrow);
    session.hotkeyPressed();
    sayAndPause();
    EXPECT_TRUE(hasWords());
    config.update([](Settings& s) { s.showWordsInPill = false; });
    sayAndPause();
    EXPECT_FALSE(hasWords()) << "switched off meanwhile";
    session.chordDetected();
}
