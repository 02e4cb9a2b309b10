#include "speech/EarlyWindows.h"
#include "WhisperEngine/WhisperError.h"

#include <cmath>
#include <gtest/gtest.h>
#include <latch>
#include <thread>

using namespace fenlo;
using whisper::DecodingOptions;
using whisper::DecodingResult;
using whisper::WhisperError;

namespace {

DecodingResult resultOf(const std::string& text) {
    DecodingResult result;
    result.text = text;
    return result;
}

class EarlyWindowsTest : public testing::Test {
protected:
    EarlyWindowsTest() { windows.begin(); }

    /// The text of the window; "anew" when it is decoded for it.
    std::string ask(const whisper::WindowAnswer& answer, const std::string& anew) {
        return answer({samples, prompt, options}, [&] { return resultOf(anew); }).text;
    }
    std::string early(const std::string& anew = "early") { return ask(windows.ahead(std::stop_source()), anew); }
    std::string finished(const std::string& anew = "anew") { return ask(windows.finished({}), anew); }

    EarlyWindows windows;
    std::vector<float> samples = std::vector<float>(1000, 0.25F);
    std::vector<int> prompt{1, 2, 3};
    DecodingOptions options;
};

} // namespace

TEST_F(EarlyWindowsTest, AResultCountsForTheSameWindowOnly) {
    EXPECT_EQ(early(), "early");
    EXPECT_EQ(early("again"), "early") << "a later run ahead knows it too";
    windows.finish();
    EXPECT_EQ(finished(), "early");
    options.maxWindowSeek = 5;
    options.endsAtLastSound = true;
    EXPECT_EQ(finished(), "early") << "how far the walk goes does not matter to a window";
    EXPECT_EQ(windows.taken(), 2u);

    options.logProbThreshold.reset();
    EXPECT_EQ(finished(), "anew");
    options.logProbThreshold = DecodingOptions().logProbThreshold;
    samples[500] = std::nextafter(samples[500], 1.0F);
    EXPECT_EQ(finished(), "anew") << "one bit";
    samples[500] = 0.25F;
    prompt.push_back(4);
    EXPECT_EQ(finished(), "anew");
    prompt.pop_back();
    EXPECT_EQ(finished(), "early");

    EXPECT_THROW(early(), WhisperError) << "nothing is begun once the take has ended";
    windows.forget();
    EXPECT_EQ(finished(), "anew");
    windows.begin();
    EXPECT_EQ(finished(), "anew");
}

TEST_F(EarlyWindowsTest, AFinishedClipWaitsForItsWindowAndStopsAnother) {
    std::latch begun(1), mayEnd(1);
    std::jthread run([&] {
        windows.ahead(std::stop_source())({samples, prompt, options}, [&] {
            begun.count_down();
            mayEnd.wait();
            return resultOf("early");
        });
    });
    begun.wait();
    windows.finish();
    std::string text;
    std::jthread waits([&] { text = finished(); });
    mayEnd.count_down();
    waits.join();
    run.join();
    EXPECT_EQ(text, "early");

    windows.begin();
    const std::stop_source stop;
    std::latch another(1);
    const std::vector<float> other(1000, 0.5F);
    std::jthread useless([&] {
        EXPECT_THROW(windows.ahead(stop)({other, prompt, options},
                                         [&]() -> DecodingResult {
                                             another.count_down();
                                             std::latch stopped(1);
                                             const std::stop_callback end(stop.get_token(),
                                                                          [&] { stopped.count_down(); });
                                             stopped.wait();
                                             throw WhisperError(WhisperError::Kind::cancelled, "cancelled");
                                         }),
                     WhisperError);
    });
    another.wait();
    EXPECT_EQ(finished(), "anew");
    EXPECT_FALSE(stop.stop_requested()) << "a clip of somebody else's, while the take goes on";
    windows.finish();
    EXPECT_EQ(finished(), "anew");
    useless.join();
    EXPECT_TRUE(stop.stop_requested());
}
