#include "WhisperEngine/WhisperEngine.h"
#include "WhisperEngine/ModelSetup.h"
#include "WhisperEngine/Output/TranscriptWriter.h"
#include "WhisperEngine/WhisperError.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Guarded.h"
#include "media/AudioFile.h"
#include "platform/linux/net/CurlHttpClient.h"
#include "support/FakeHttpClient.h"
#include "support/LoopbackHub.h"
#include "support/VirtualTime.h"

#include <cmath>
#include <filesystem>
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <numeric>

using namespace fenlo;
using namespace fenlo::whisper;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

constexpr const char* model = "micro-whisper-espeak.en";
const fs::path clip = fs::path(GOLDEN_FOLDER) / "samples/sample_10_phrase.wav";
constexpr const char* phrase = " The quick brown fox jumps over the lazy dog near the riverbank.";

class WhisperEngineTest : public testing::Test {
protected:
    WhisperEngineTest() {
        config.model = model;
        config.downloadBase = base;
        config.bundledModels = fs::path(DEMO_MODEL_FOLDER).parent_path();
        config.verbose = true;
        config.logLevel = LogLevel::debug;
        config.logSink = [this](const std::string& line) { m_lines.with([&](auto& lines) { lines.push_back(line); }); };
        config.modelStateCallback = [this](ModelState, ModelState after) { states.push_back(after); };
        options.skipSpecialTokens = true;
    }
    ~WhisperEngineTest() override { fs::remove_all(base); }

    std::unique_ptr<WhisperEngine> make() { return WhisperEngine::create(config, http, clock, {}); }

    std::string errorOf(const std::function<void()>& work) {
        try {
            work();
        } catch (const WhisperError& error) {
            return error.what();
        }
        return "no error";
    }

    static std::string textOfAll(const std::vector<TranscriptionResult>& results) {
        std::string text;
        for (const TranscriptionResult& result : results)
            text += result.text;
        return text;
    }

    /// A phrase, thirty seconds of silence, and the phrase again.
    static std::vector<float> longAudio() {
        const auto spoken = readSoundFile(clip, ChannelMix::first).mono;
        std::vector<float> audio = spoken;
        audio.resize(audio.size() + 30 * 16000);
        audio.insert(audio.end(), spoken.begin(), spoken.end());
        return audio;
    }

    const fs::path base = files::temporaryFile("models_", "");
    SystemClock clock;
    fenlo::test::FakeHttpClient http;
    WhisperEngineConfig config;
    DecodingOptions options;
    std::vector<ModelState> states;

    std::vector<std::string> lines() const {
        return m_lines.with([](const auto& lines) { return lines; });
    }

private:
    Guarded<std::vector<std::string>> m_lines; // of several threads
};

} // namespace

TEST_F(WhisperEngineTest, GoesFromABundledModelToATextWithoutANetwork) {
    const auto engine = make();
    EXPECT_THAT(states, ElementsAre(ModelState::downloading, ModelState::downloaded, ModelState::prewarming,
                                    ModelState::prewarmed, ModelState::loading, ModelState::loaded));
    EXPECT_THAT(lines(), Contains("Loading models from " + (base / model).string() + " with prewarmMode: false"));
    EXPECT_THAT(lines(), Contains("Found local tokenizer at " + (base / model).string()));
    EXPECT_TRUE(http.requests.empty());
    std::vector<std::string> stages;
    TranscriptionCallbacks callbacks;
    callbacks.state = [&](TranscriptionState state) { stages.push_back(whisper::textOf(state)); };
    EXPECT_EQ(textOfAll(engine->transcribe(clip, options, callbacks, {})), phrase);
    EXPECT_THAT(stages, ElementsAre("Converting Audio", "Transcribing", "Finished"));
    EXPECT_THAT(errorOf([&] { engine->transcribe(fs::path("nothing.wav"), options, {}, {}); }),
                "Resource path does not exist nothing.wav");
    EXPECT_THAT(errorOf([&] { engine->detectLanguage(clip, {}); }), "Language detection not supported for this model");

    engine->unloadModels();
    EXPECT_EQ(engine->modelState(), ModelState::unloaded);
    EXPECT_EQ(lines().back(), "Unloaded all models");
    EXPECT_EQ(errorOf([&] { engine->transcribe(clip, options, {}, {}); }), "Models are unavailable");
    engine->loadModels(false, {});
    EXPECT_EQ(textOfAll(engine->transcribe(clip, options, {}, {})), phrase) << "loaded again";
}

TEST_F(WhisperEngineTest, FailuresOfTheCreationAreTold) {
    config.model.reset();
    config.download = false;
    EXPECT_EQ(errorOf([&] { make(); }), "Model folder is not set.");
    config.modelFolder = base / "empty";
    fs::create_directories(base / "empty");
    EXPECT_THAT(errorOf([&] { make(); }), HasSubstr((base / "empty").string()));
    config.modelFolder.reset();
    config.download = true;
    config.model = "small";
    http.onSend = [](const HttpRequest&) { return HttpResponse{404, {}, ""}; };
    EXPECT_THAT(errorOf([&] { make(); }), HasSubstr("Model not found. Please check the model or repo name"));
    EXPECT_EQ(states.back(), ModelState::downloading);
}

TEST_F(WhisperEngineTest, ADamagedModelIsRepairedByWhatIsSoundAtTheHub) {
    const fs::path served = base / "served/maker/models/small-one";
    fs::create_directories(served.parent_path());
    fs::copy(DEMO_MODEL_FOLDER, served);
    auto hub = std::make_optional<fenlo::test::LoopbackHub>(base / "served");
    CurlHttpClient network;
    config.model = "small-one";
    config.modelRepo = "maker/models";
    config.modelEndpoint = hub->server().url();
    config.downloadBase = base / "models";
    config.repairCommand = "fenlo models repair";
    const auto made = [&] { return WhisperEngine::create(config, network, clock, {}); };
    const fs::path folder = made()->modelFolder();
    const auto damage = [&](const char* name, std::size_t at) {
        std::string content = files::read(folder / name).value();
        content[at] ^= 0x55;
        ASSERT_TRUE(files::writeAtomically(folder / name, content));
    };
    const auto heard = [&] { return textOfAll(made()->transcribe(clip, options, {}, {})); };

    damage("config.json", 0);
    damage("model.safetensors",
           fs::file_size(folder / "model.safetensors") - 1); // damage that leaves the structure whole
    EXPECT_THAT(errorOf([&] { made(); }), HasSubstr("config.json is not valid JSON at byte 1. Repair it with: fenlo "
                                                    "models repair small-one"));
    const std::size_t before = hub->requests().size();
    const Repair repair = repairModel(config, "small", network, clock, {});
    EXPECT_THAT(repair.fetched, testing::UnorderedElementsAre("config.json", "model.safetensors"));
    EXPECT_EQ(repair.unchecked, "");
    for (std::size_t i = before; i < hub->requests().size(); ++i)
        EXPECT_THAT(hub->requests()[i].wire.target, testing::Not(HasSubstr("tokenizer.json"))) << "it was sound";
    EXPECT_EQ(heard(), phrase);

    // Without a network: the folder remembers what its files should be, so only the compiled files are made again.
    hub.reset();
    damage("AudioEncoder", fs::file_size(folder / "AudioEncoder") / 2);
    EXPECT_THAT(repairModel(config, "small-one", network, clock, {}).fetched, testing::IsEmpty());
    EXPECT_FALSE(fs::exists(folder / "AudioEncoder"));
    EXPECT_EQ(heard(), phrase);
    damage("tokenizer.json", 0);
    fenlo::test::VirtualClock patience; // between the attempts
    EXPECT_THAT(errorOf([&] { repairModel(config, "small-one", network, patience, {}); }),
                HasSubstr("check the network"));
    EXPECT_TRUE(fs::exists(folder / "tokenizer.json")) << "nothing is dropped before the hub has answered";
}

TEST_F(WhisperEngineTest, ChunksAreMergedInTheTimesOfTheWhole) {
    const auto engine = make();
    const std::vector<float> audio = longAudio();
    options.chunkingStrategy = ChunkingStrategy::vad;
    std::vector<double> fractions;
    std::mutex mutex;
    TranscriptionCallbacks callbacks;
    callbacks.fraction = [&](double fraction) {
        std::lock_guard lock(mutex);
        fractions.push_back(fraction);
    };
    const auto results = engine->transcribe(audio, options, callbacks, {});
    EXPECT_THAT(lines(), Contains("Found " + std::to_string(results.size()) + " VAD chunks"));
    ASSERT_EQ(results.size(), 2u);
    EXPECT_EQ(results[0].text, phrase);
    ASSERT_TRUE(results[1].seekTime);
    EXPECT_GT(*results[1].seekTime, 15) << "cut in the silence of the window's second half";
    EXPECT_LT(*results[1].seekTime, 30);
    int id = 0;
    for (const TranscriptionResult& result : results)
        for (const TranscriptionSegment& segment : result.segments) {
            EXPECT_EQ(segment.id, id++);
            EXPECT_GE(segment.start, result.seekTime.value());
            EXPECT_LE(segment.end, static_cast<float>(audio.size()) / 16000);
        }
    EXPECT_DOUBLE_EQ(*std::ranges::max_element(fractions), 1.0);
}

TEST_F(WhisperEngineTest, PartsOfALongRecordingFollowEachOtherInItsTimes) {
    const auto engine = make();
    std::vector<float> audio;
    for (const auto spoken = readSoundFile(clip, ChannelMix::first).mono; audio.size() < std::size_t{600} * 16000;) {
        audio.insert(audio.end(), spoken.begin(), spoken.end());
        audio.resize(audio.size() + std::size_t{40} * 16000);
    }
    options.losesNoSpeech = true;
    options.chunkingStrategy = ChunkingStrategy::parts;
    const auto parts = engine->transcribe(audio, options, {}, {});
    ASSERT_EQ(parts.size(), 5U);
    EXPECT_THAT(parts.front().text, HasSubstr(phrase));
    const std::span<const float> whole = audio;
    int begin = 0, id = 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto offset = [&](std::size_t part) {
            return part < parts.size() ? static_cast<int>(std::lround(*parts[part].seekTime * 16000))
                                       : static_cast<int>(audio.size());
        };
        EXPECT_EQ(offset(i), begin) << "no gap";
        begin = offset(i + 1);
        const auto samples =
            whole.subspan(static_cast<std::size_t>(offset(i)), static_cast<std::size_t>(begin - offset(i)));
        options.chunkingStrategy = ChunkingStrategy::none;
        const auto alone = engine->transcribe(samples, options, {}, {}).front();
        ASSERT_EQ(parts[i].segments.size(), alone.segments.size());
        for (std::size_t k = 0; k < alone.segments.size(); ++k) {
            EXPECT_EQ(parts[i].segments[k].id, id++);
            EXPECT_EQ(parts[i].segments[k].text, alone.segments[k].text);
            EXPECT_NEAR(parts[i].segments[k].start, alone.segments[k].start + *parts[i].seekTime, 1e-3);
        }
    }
    options.chunkingStrategy = ChunkingStrategy::parts;
    options.clipTimestamps = {5, 100};
    EXPECT_EQ(engine->transcribe(audio, options, {}, {}).size(), 1U) << "a short clip";
}

TEST_F(WhisperEngineTest, BatchesMustBeBalanced) {
    const auto engine = make();
    const std::vector<float> audio = readSoundFile(clip, ChannelMix::first).mono;
    const std::vector<std::span<const float>> two{audio, audio};
    EXPECT_EQ(errorOf([&] {
                  engine->transcribe(two, {0}, {options, options}, {}, {});
              }),
              "The number of audio arrays and seek offset indexes must be balanced.");
    EXPECT_EQ(errorOf([&] { engine->transcribe(two, {}, {options}, {}, {}); }),
              "The number of audio arrays and decoding options must be balanced.");
    const auto results = engine->transcribe(two, {0, 160000}, {options, options}, {}, {});
    EXPECT_EQ(results[1].text, phrase);
    EXPECT_NEAR(results[1].segments[0].start - results[0].segments[0].start, 10, 1e-3);
    const auto files = engine->transcribe(std::vector<fs::path>{clip, clip}, options, {});
    EXPECT_EQ(textOfAll(files[0]), textOfAll(files[1]));
}

/// Drawn at a temperature, so that a token of another's would show, with prompts of different lengths.
TEST_F(WhisperEngineTest, WindowsSideBySideGiveWhatTheyGiveOneByOne) {
    const auto engine = make();
    EXPECT_GT(engine->windowsAtOnce(), 1);
    const fs::path samples = fs::path(GOLDEN_FOLDER) / "samples";
    std::vector<std::vector<float>> sounds;
    for (const auto& file : fs::directory_iterator(samples))
        if (file.path().extension() == ".wav")
            sounds.push_back(readSoundFile(file.path(), ChannelMix::first).mono);
    const std::vector<std::span<const float>> arrays(sounds.begin(), sounds.end());
    std::vector<DecodingOptions> each(arrays.size(), options);
    for (std::size_t i = 0; i < each.size(); ++i) {
        each[i].temperature = i % 2 == 0 ? 0.0f : 0.8f;
        each[i].wordTimestamps = i % 3 == 0;
        each[i].promptTokens = std::vector<int>(i, 775);
        each[i].losesNoSpeech = true;
    }
    const auto document = [&](int workers) {
        for (DecodingOptions& one : each)
            one.concurrentWorkerCount = workers;
        std::string all;
        for (const TranscriptionResult& result : engine->transcribe(arrays, {}, each, {}, {}))
            for (const TranscriptionSegment& segment : result.segments)
                all += fmt::format("{} {} {} {} {}\n", segment.text, segment.tokens, segment.tokenLogProbs,
                                   segment.noSpeechProb, segment.words.value_or(std::vector<WordTiming>()).size());
        return all;
    };
    const std::string oneByOne = document(1);
    EXPECT_THAT(oneByOne, HasSubstr("riverbank"));
    EXPECT_EQ(document(16), oneByOne);
}

TEST_F(WhisperEngineTest, AStoppedTranscriptionGoesOnToTheSameResult) {
    const auto engine = make();
    std::vector<float> audio = longAudio();
    const std::vector<float> once = audio;
    audio.insert(audio.end(), once.begin(), once.end());
    options.wordTimestamps = true;
    options.promptTokens = {};
    options.seed = 1;
    options.concurrentWorkerCount = 1;
    for (const auto strategy : {ChunkingStrategy::none, ChunkingStrategy::vad}) {
        options.chunkingStrategy = strategy;
        const auto document = [](const auto& results) { return writeTranscript(results, TranscriptFormat::json); };
        const std::string whole = document(engine->transcribe(audio, options, {}, {}));
        EXPECT_THAT(whole, HasSubstr("riverbank"));

        StoppedParts stopped;
        std::string resumed;
        int stops = 0;
        for (; resumed.empty(); ++stops) {
            std::stop_source stop;
            TranscriptionCallbacks callbacks;
            callbacks.checkpoint = [&](std::size_t part, const auto& checkpoint, auto segments) {
                stopped[part].checkpoint = checkpoint;
                auto& all = stopped[part].segments;
                all.insert(all.end(), segments.begin(), segments.end());
                stop.request_stop();
            };
            try {
                resumed = document(engine->transcribe(audio, options, callbacks, stop.get_token(), stopped));
            } catch (const WhisperError& error) {
                ASSERT_EQ(error.kind, WhisperError::Kind::cancelled);
            }
        }
        EXPECT_GE(stops, 3);
        EXPECT_EQ(resumed, whole);
    }
}
