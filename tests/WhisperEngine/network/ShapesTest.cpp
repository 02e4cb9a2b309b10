// Shapes that the small trained model lacks: both multilingual vocabularies, 80 and 128 mel bands, other numbers of
// layers and heads. With random weights, against an independent implementation (scripts/make_shapes_reference.py).

#include "WhisperEngine/Tokenizer/Languages.h"
#include "WhisperEngine/WhisperEngine.h"
#include "WhisperEngine/network/GoldenModel.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "WhisperEngine/support/RandomCheckpoint.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Json.h"
#include "support/FakeHttpClient.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

using namespace fenlo;
using namespace fenlo::whisper;
using fenlo::test::Networks;
using fenlo::test::RandomCheckpoint;
using nlohmann::json;
namespace fs = std::filesystem;

namespace {

const json& references() {
    static const json all = parseJson(files::read(fs::path(SHAPES_REFERENCE)).value());
    return all;
}

ModelArchitecture architectureOf(const json& reference) {
    const json& config = reference["config"];
    ModelArchitecture net;
    net.width = config["d_model"];
    net.encoderLayers = config["encoder_layers"];
    net.encoderHeads = config["encoder_attention_heads"];
    net.encoderFeedForward = config["encoder_ffn_dim"];
    net.decoderLayers = config["decoder_layers"];
    net.decoderHeads = config["decoder_attention_heads"];
    net.decoderFeedForward = config["decoder_ffn_dim"];
    net.melBands = config["num_mel_bins"];
    net.vocabularySize = config["vocab_size"];
    net.audioPositions = config["max_source_positions"];
    net.textPositions = config["max_target_positions"];
    return net;
}

/// A sweep from 100 Hz upwards over a little noise, then silence.
std::vector<float> signal() {
    std::vector<float> audio(480000);
    const auto sounding = std::span(audio).first(320000);
    test::randomNumbers("signal", 0, sounding);
    for (std::size_t i = 0; i < sounding.size(); ++i) {
        const double t = static_cast<double>(i) / 16000;
        const double sweep = 0.3 * std::sin(2 * std::numbers::pi * (100 * t + 180 * t * t));
        sounding[i] = static_cast<float>(sweep) + 0.02f * sounding[i];
    }
    return audio;
}

/// A model folder for as long as a test runs.
class ModelFolder {
public:
    explicit ModelFolder(const RandomCheckpoint& checkpoint) : path(files::temporaryFile("model-", "")) {
        checkpoint.write(path);
    }
    ~ModelFolder() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    ModelFolder(const ModelFolder&) = delete;
    ModelFolder& operator=(const ModelFolder&) = delete;

    const fs::path path;
};

Networks load(const fs::path& folder, ComputeUnit unit, ThreadPool& pool) {
    const ModelComputeOptions options{unit, unit, unit, unit};
    compileModel(folder, options, {}, {});
    return {loadMelSpectrogram(folder, options, pool), loadAudioEncoder(folder, options, pool),
            loadTextDecoder(folder, options, pool)};
}

struct Outputs {
    std::vector<float> mel, encoder;
    std::vector<std::vector<float>> logits; // of each token
};

Outputs run(const Networks& nets, const std::vector<int>& tokens) {
    Outputs outputs;
    outputs.mel.resize(static_cast<std::size_t>(nets.mel->melBands() * nets.mel->melFrames()));
    nets.mel->predict(signal(), outputs.mel);
    AudioEmbeddings embeddings;
    nets.encoder->predict(outputs.mel, embeddings);
    outputs.encoder = embeddings.encoder_output_embeds;
    nets.decoder->attach(embeddings);
    test::Decoding decoding(*nets.decoder, embeddings);
    for (const int token : tokens) {
        decoding.step(token);
        outputs.logits.push_back(decoding.logits);
    }
    return outputs;
}

float largestDifference(const std::vector<float>& actual, const json& sampled) {
    float largest = 0;
    for (std::size_t i = 0; i < sampled["indexes"].size(); ++i)
        largest = std::max(largest, std::fabs(actual.at(sampled["indexes"][i]) - sampled["values"][i].get<float>()));
    EXPECT_EQ(actual.size(), sampled["indexes"].back().get<std::size_t>() + 1);
    return largest;
}

double correlation(const std::vector<float>& a, const std::vector<float>& b) {
    const auto mean = [](const std::vector<float>& values) {
        double sum = 0;
        for (const float value : values)
            sum += value;
        return sum / static_cast<double>(values.size());
    };
    const double meanA = mean(a), meanB = mean(b);
    double ab = 0, aa = 0, bb = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        ab += (a[i] - meanA) * (b[i] - meanB);
        aa += (a[i] - meanA) * (a[i] - meanA);
        bb += (b[i] - meanB) * (b[i] - meanB);
    }
    return ab / std::sqrt(aa * bb);
}

/// Once for each reference.
class Shapes : public testing::TestWithParam<std::size_t> {
protected:
    const json& reference() const { return references().at(GetParam()); }
    std::vector<int> tokens() const { return reference()["tokens"]; }

    ThreadPool m_pool{2};
};

} // namespace

TEST_P(Shapes, BothPrecisionsFollowTheReference) {
    const ModelFolder folder({architectureOf(reference()), {}});
    const Outputs exact = run(load(folder.path, ComputeUnit::float32, m_pool), tokens());
    EXPECT_LT(largestDifference(exact.mel, reference()["mel"]), 1e-4f);
    EXPECT_LT(largestDifference(exact.encoder, reference()["encoder"]), 1e-3f);

    const Outputs quantised = run(load(folder.path, ComputeUnit::automatic, m_pool), tokens());
    EXPECT_GT(correlation(exact.encoder, quantised.encoder), 0.9995);
    for (std::size_t step = 0; step < exact.logits.size(); ++step) {
        EXPECT_LT(largestDifference(exact.logits[step], reference()["logits"][step]), 1e-3f) << "step " << step;
        EXPECT_GT(correlation(exact.logits[step], quantised.logits[step]), 0.98) << "step " << step;
    }
}

INSTANTIATE_TEST_SUITE_P(, Shapes, testing::Range<std::size_t>(0, 2),
                         [](const auto& shape) { return shape.param == 0 ? "Bands80" : "Bands128"; });

TEST(ShapesOfAnEngine, MultilingualModelDetectsSomeLanguage) {
    const ModelFolder folder({architectureOf(references().at(0)), fs::path(DEMO_MODEL_FOLDER) / "tokenizer.json"});
    SystemClock clock;
    test::FakeHttpClient noNetwork;
    WhisperEngineConfig config;
    config.modelFolder = folder.path;
    config.threads = 2;
    const auto engine = WhisperEngine::create(std::move(config), noNetwork, clock, {});
    EXPECT_TRUE(engine->isModelMultilingual());

    const fs::path samples = fs::path(GOLDEN_FOLDER) / "samples";
    const DecodingResult found =
        engine->detectLanguage(samples / test::goldenSamples()[0]["file"].get<std::string>(), {});
    EXPECT_TRUE(std::ranges::count(languages(), found.language, &Language::code) == 1) << found.language;
    ASSERT_TRUE(found.languageProbs.contains(found.language));
    float sum = 0;
    for (const auto& [code, probability] : found.languageProbs) {
        EXPECT_LE(probability, found.languageProbs.at(found.language)) << code;
        sum += probability;
    }
    EXPECT_NEAR(sum, 1, 1e-3);
}
