// How far 8 bits follow 32 bits at the published models' widths, with all vocabularies and both numbers of mel bands,
// where weights are random and where some channels are a hundred times the others.

#include "WhisperEngine/network/GoldenModel.h"
#include "WhisperEngine/network/RandomModel.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <gtest/gtest.h>

using namespace fenlo::test;
using namespace fenlo::whisper;

namespace {

struct Size {
    const char* name;
    int width, layers, melBands, vocabulary;
};

class Precision : public testing::TestWithParam<std::tuple<Size, bool>> {};

} // namespace

TEST_P(Precision, EightBitsFollowThirtyTwo) {
    const auto& [size, hasWideChannels] = GetParam();
    ModelArchitecture net;
    net.width = size.width;
    net.encoderLayers = net.decoderLayers = size.layers;
    net.encoderHeads = net.decoderHeads = size.width / 64;
    net.encoderFeedForward = net.decoderFeedForward = 4 * size.width;
    net.melBands = size.melBands;
    net.vocabularySize = size.vocabulary;
    net.audioPositions = 1500;
    net.textPositions = 448;
    ThreadPool pool(2);
    const ModelFolder folder({net, {}, hasWideChannels});
    const std::vector<int> tokens{50258, 50259, 50363, 1000, 20000};
    const Outputs exact = outputsOf(folder, ComputeUnit::float32, tokens, pool);
    const Outputs quantised = outputsOf(folder, ComputeUnit::automatic, tokens, pool);
    const double heard = correlation(exact.encoder, quantised.encoder);
    RecordProperty("encoder", std::to_string(heard));
    EXPECT_GT(heard, 0.9995);
    for (std::size_t step = 0; step < tokens.size(); ++step) {
        const double said = correlation(exact.logits[step], quantised.logits[step]);
        RecordProperty("logits" + std::to_string(step), std::to_string(said));
        EXPECT_GT(said, 0.9995) << "step " << step;
    }
}

INSTANTIATE_TEST_SUITE_P(
    , Precision,
    testing::Combine(testing::Values(Size{"Tiny", 384, 4, 80, 51865}, Size{"BaseEnglish", 512, 4, 80, 51864},
                                     Size{"Small", 768, 2, 80, 51865}, Size{"MediumEnglish", 1024, 2, 80, 51864},
                                     Size{"LargeV3", 1280, 2, 128, 51866}),
                     testing::Bool()),
    [](const auto& test) {
        return std::string(std::get<0>(test.param).name) + (std::get<1>(test.param) ? "WithWideChannels" : "");
    });

// Trained weights have what random ones lack: most tokens are never said, and their rows in the embedding are nearly
// the same.
TEST(PrecisionOfTheTrainedModel, EightBitsFollowThirtyTwo) {
    const Networks& exact = networks(ComputeUnit::float32);
    const Networks& quantised = networks(ComputeUnit::automatic);
    for (const auto& sample : goldenSamples()) {
        const AudioEmbeddings heard = embeddingsOf(exact, sample), heardInBytes = embeddingsOf(quantised, sample);
        EXPECT_GT(correlation(heard.encoder_output_embeds, heardInBytes.encoder_output_embeds), 0.9999);
        Decoding said(*exact.decoder, heard), saidInBytes(*quantised.decoder, heardInBytes);
        std::vector<int> tokens{50257};
        std::ranges::copy(sample["with_timestamps"]["tokens"].get<std::vector<int>>(), std::back_inserter(tokens));
        for (const int token : tokens) {
            said.step(token);
            saidInBytes.step(token);
            EXPECT_GT(correlation(said.logits, saidInBytes.logits), 0.9999) << sample["file"];
        }
    }
}
