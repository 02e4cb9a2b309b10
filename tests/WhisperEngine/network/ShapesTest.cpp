// Shapes that the small trained model lacks: both multilingual vocabularies, 80 and 128 mel bands, other numbers of
// layers and heads. With random weights, against an independent implementation (scripts/make_shapes_reference.py).

#include "WhisperEngine/Tokenizer/Languages.h"
#include "WhisperEngine/WhisperEngine.h"
#include "WhisperEngine/network/RandomModel.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Clock.h"
#include "base/Files.h"
#include "base/Json.h"
#include "support/FakeHttpClient.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using namespace fenlo;
using namespace fenlo::whisper;
using fenlo::test::correlation;
using fenlo::test::ModelFolder;
using fenlo::test::Outputs;
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

float largestDifference(const std::vector<float>& actual, const json& sampled) {
    float largest = 0;
    for (std::size_t i = 0; i < sampled["indexes"].size(); ++i)
        largest = std::max(largest, std::fabs(actual.at(sampled["indexes"][i]) - sampled["values"][i].get<float>()));
    EXPECT_EQ(actual.size(), sampled["indexes"].back().get<std::size_t>() + 1);
    return largest;
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
    const Outputs exact = outputsOf(folder, ComputeUnit::float32, tokens(), m_pool);
    EXPECT_LT(largestDifference(exact.mel, reference()["mel"]), 1e-4f);
    EXPECT_LT(largestDifference(exact.encoder, reference()["encoder"]), 1e-3f);

    const Outputs quantised = outputsOf(folder, ComputeUnit::automatic, tokens(), m_pool);
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
