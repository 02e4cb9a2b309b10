#include "speech/LocalTranscriber.h"
#include "base/Files.h"
#include "support/VirtualTime.h"

#include <fstream>
#include <gmock/gmock.h>

using namespace fenlo;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

whisper::TranscriptionResult resultOf(std::vector<std::pair<std::string, float>> segments) {
    whisper::TranscriptionResult result;
    for (auto& [text, avgLogprob] : segments) {
        result.segments.emplace_back();
        result.segments.back().text = std::move(text);
        result.segments.back().avgLogprob = avgLogprob;
    }
    return result;
}

class LocalTranscriberTest : public testing::Test {
protected:
    ~LocalTranscriberTest() override { std::filesystem::remove_all(folder); }

    LocalTranscriber::Engine engine() {
        return [this](const auto&, const whisper::DecodingOptions& given, std::stop_token) {
            options = given;
            clock.advance(1.25);
            return results;
        };
    }

    test::VirtualClock clock;
    const std::filesystem::path folder = files::temporaryFile("models_", "");
    whisper::DecodingOptions options;
    std::vector<whisper::TranscriptionResult> results{resultOf({{" Hello.", -0.2f}})};
    int made = 0;
    LocalTranscriber::EngineMaker make = [this](const std::string&, const auto&, const auto&, auto) {
        ++made;
        return engine();
    };
    LocalTranscriber local{"small", folder, [this](auto&&... arguments) { return make(arguments...); }, clock};
};

} // namespace

TEST_F(LocalTranscriberTest, IsReadyOnceSetUp) {
    EXPECT_FALSE(local.isReady());
    EXPECT_THROW(local.transcribe("clip.wav", "en", {}), LocalTranscriberError);
    std::vector<std::string> statuses;
    local.setup([&](const std::string& status, double) { statuses.push_back(status); }, {});
    EXPECT_THAT(statuses, ElementsAre("Preparing...", "Ready"));
    EXPECT_TRUE(local.isReady());
    local.setup({}, {});
    EXPECT_EQ(made, 1);
}

TEST_F(LocalTranscriberTest, ASecondSetUpLeavesTheFirstAlone) {
    make = [this](const std::string&, const auto&, const auto&, auto) {
        ++made;
        local.setup({}, {}); // meanwhile
        EXPECT_FALSE(local.isReady());
        return engine();
    };
    local.setup({}, {});
    EXPECT_EQ(made, 1);
}

TEST_F(LocalTranscriberTest, AFailedSetUpMayBeTriedAgain) {
    make = [](const std::string&, const auto&, const auto&, auto) -> LocalTranscriber::Engine {
        throw std::runtime_error("no network");
    };
    std::vector<std::pair<std::string, double>> told;
    local.setup([&](const std::string& status, double fraction) { told.emplace_back(status, fraction); }, {});
    EXPECT_EQ(told.back(), (std::pair<std::string, double>{"Setup failed", 0.0}));
    EXPECT_EQ(local.setupFault(), "no network");
    std::uint64_t received = 0;
    make = [this](const std::string&, const auto&, const LocalTranscriber::Steps& steps, auto) {
        steps({SetupStep::Kind::downloading, 3, 10});
        return engine();
    };
    local.setup({}, {}, [&](const SetupStep& step) {
        received = step.done;
        EXPECT_EQ(local.setupStep().value_or(SetupStep()).done, 3u) << "who looks from elsewhere sees it too";
    });
    EXPECT_EQ(received, 3u);
    EXPECT_FALSE(local.setupStep());
    EXPECT_TRUE(local.isReady());
    EXPECT_EQ(local.setupFault(), "");
}

TEST_F(LocalTranscriberTest, JoinsWhatTheModelWasSureOf) {
    results = {resultOf({{" One,", -0.1f}, {" mumble", -1.51f}, {" two.", -1.5f}}), resultOf({{" Three. ", -0.3f}})};
    local.setup({}, {});
    EXPECT_EQ(local.transcribe("clip.wav", "auto", {}), "One, two. Three.");
}

TEST_F(LocalTranscriberTest, TheLanguageIsDetectedUnlessItIsChosen) {
    local.setup({}, {});
    local.transcribe("clip.wav", "auto", {});
    EXPECT_EQ(options.language, std::nullopt);
    EXPECT_LT(options.logProbThreshold, whisper::DecodingOptions().logProbThreshold) << "looser than the engine's own";
    local.transcribe("clip.wav", "de", {});
    EXPECT_EQ(options.language, "de");
}

TEST_F(LocalTranscriberTest, TellsWhetherTheModelIsThere) {
    EXPECT_FALSE(local.isModelDownloaded());
    std::filesystem::create_directories(folder / "openai_whisper-base");
    EXPECT_FALSE(local.isModelDownloaded());
    std::filesystem::create_directories(folder / "openai_whisper-small");
    EXPECT_TRUE(local.isModelDownloaded());
}
