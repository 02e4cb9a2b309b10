#include "app/meeting/HeardMeeting.h"
#include "app/meeting/SpeechStream.h"
#include "audio/WavFile.h"
#include "base/Files.h"
#include "media/AudioFile.h"
#include "platform/HttpClient.h"
#include "support/Signals.h"
#include "support/VirtualTime.h"

#include <gmock/gmock.h>
#include <map>
#include <mutex>

using namespace fenlo;
using namespace fenlo::test;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class HeardMeetingTest : public testing::Test {
protected:
    /// Two voices in turn, three seconds each, with a second of quiet after each.
    HeardMeetingTest() {
        std::vector<float> samples;
        for (int i = 0; i < 8; ++i)
            samples = std::move(samples) + hum(i % 2 ? 380 : 110, 48000, 0.1F) + silence(16000);
        writeWav(file, samples, 16000, WavEncoding::float32);
    }
    ~HeardMeetingTest() override { files::removeQuietly(file); }

    /// Which chunk it is, by the order of the files' first appearance.
    int numberOf(const TranscribeRequest& request) {
        return numbers.emplace(request.audio.string(), static_cast<int>(numbers.size())).first->second;
    }

    HeardMeeting hear(Listening::Recogniser recognise, std::size_t sideBySide = 1) {
        Listening listening{.clock = clock, .recognise = std::move(recognise), .sideBySide = sideBySide};
        SpeechStream stream(file, {});
        return hearMeeting(stream, listening, stop.get_token());
    }

    VirtualClock clock;
    std::stop_source stop;
    const std::filesystem::path file = files::temporaryFile("heard", ".wav");
    std::map<std::string, int> numbers;
};

std::vector<int> indices(const HeardMeeting& heard) {
    std::vector<int> found;
    for (const TranscriptSegment& segment : heard.segments)
        found.push_back(segment.index);
    return found;
}

} // namespace

TEST_F(HeardMeetingTest, OrdersTheWordsOfChunksThatAreHeardSideBySide) {
    std::mutex mutex;
    std::vector<std::string> sounds;
    const HeardMeeting heard = hear(
        [&](const TranscribeRequest& request, const std::stop_token&) {
            const std::lock_guard lock(mutex);
            sounds.push_back(request.audio);
            const double seconds = static_cast<double>(readRecording(request.audio, 16000).samples.size()) / 16000;
            return "Um, it lasts " + std::to_string(static_cast<int>(seconds * 10));
        },
        4);
    EXPECT_TRUE(heard.isWhole);
    EXPECT_THAT(heard.missing, IsEmpty());
    EXPECT_THAT(indices(heard), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(heard.segments[0].text, "it lasts 38");
    EXPECT_EQ(heard.segments[8].text, "it lasts 1") << "the quiet after the last cut";
    EXPECT_NEAR(heard.segments[1].timestamp, 7.8, 0.1);
    EXPECT_NEAR(heard.duration, 32, 0.01);
    EXPECT_EQ(heard.segments[2].speaker.label, "Speaker 1");
    EXPECT_EQ(heard.segments[3].speaker.label, "Speaker 2");
    for (const std::string& sound : sounds)
        EXPECT_FALSE(std::filesystem::exists(sound));
}

TEST_F(HeardMeetingTest, WaitsForABusyServiceAndTriesAgainAtTheEnd) {
    std::map<int, int> attempts;
    const HeardMeeting heard = hear([&](const TranscribeRequest& request, const std::stop_token&) -> std::string {
        const int number = numberOf(request);
        const int attempt = ++attempts[number];
        if (number == 2 && attempt <= 2)
            throw HttpError(HttpError::Kind::timeout, "no answer");
        if (number == 4 && attempt == 1)
            throw std::runtime_error("a moment of weakness");
        if (number == 6)
            throw std::runtime_error("never");
        return number == 5 ? "Okay." : "Words";
    });
    EXPECT_TRUE(heard.isWhole);
    EXPECT_THAT(indices(heard), ElementsAre(0, 1, 2, 3, 4, 7, 8)) << "5 is no value";
    EXPECT_EQ(attempts[2], 3);
    EXPECT_NEAR(clock.slept, 10, 0.2);
    EXPECT_EQ(attempts[6], 2);
    EXPECT_THAT(heard.missing, ElementsAre(DoubleNear(27.8, 0.1)));
    EXPECT_EQ(heard.fault, "a moment of weakness");
}

TEST_F(HeardMeetingTest, GivesUpOnAServiceThatFailsAgainAndAgain) {
    int calls = 0;
    const HeardMeeting heard = hear([&](const TranscribeRequest& request, const std::stop_token&) -> std::string {
        ++calls;
        if (numberOf(request) > 1)
            throw std::runtime_error("out of order");
        return "Words";
    });
    EXPECT_FALSE(heard.isWhole);
    EXPECT_EQ(calls, 5);
    EXPECT_THAT(indices(heard), ElementsAre(0, 1));
    EXPECT_EQ(heard.fault, "out of order");
}

TEST_F(HeardMeetingTest, EndsWithWhatItHasWhenItIsStopped) {
    const HeardMeeting heard = hear([&](const TranscribeRequest& request, const std::stop_token&) -> std::string {
        if (numberOf(request) == 2) {
            stop.request_stop();
            throw HttpError(HttpError::Kind::cancelled, "stopped");
        }
        return "Words";
    });
    EXPECT_FALSE(heard.isWhole);
    EXPECT_THAT(indices(heard), ElementsAre(0, 1));
    EXPECT_THAT(heard.missing, IsEmpty());
}
