// A model of 8 bits hears the same on every processor: the bits of a window and of its words' scores, as they were
// found elsewhere. Features come from files or from integers, so that no library's logarithm takes part.
//
// Whoever changes what is calculated, on purpose, finds the new fingerprints in the failure; they are the same on every
// step (FENLO_ISA) from AVX2 up, the first that multiplies and adds without rounding in between.

#include "WhisperEngine/network/GoldenModel.h"
#include "WhisperEngine/network/RandomModel.h"
#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <bit>
#include <gtest/gtest.h>
#include <sstream>

using namespace fenlo::test;
using namespace fenlo::whisper;

namespace {

/// FNV-1a of the numbers' bits.
class BitsOf {
public:
    void add(std::span<const float> values) {
        for (const float value : values)
            m_hash = (m_hash ^ std::bit_cast<std::uint32_t>(value)) * 0x100000001B3U;
    }
    std::string text() const {
        std::ostringstream text;
        text << std::hex << m_hash;
        return text.str();
    }

private:
    std::uint64_t m_hash = 0xCBF29CE484222325U;
};

BitsOf scoresOf(const TextDecoderModel& model, AudioEmbeddings& embeddings, const std::vector<int>& tokens) {
    model.attach(embeddings);
    Decoding decoding(model, embeddings);
    BitsOf bits;
    for (const int token : tokens) {
        decoding.step(token);
        bits.add(decoding.logits);
    }
    return bits;
}

class SameBits : public testing::Test {
    void SetUp() override {
        if (allowedInstructionSet() < InstructionSet::avx2)
            GTEST_SKIP() << "each of the steps below AVX2 rounds in its own way";
    }
};

} // namespace

TEST_F(SameBits, OnEachStep_OfTheTrainedModel) {
    const Networks& nets = networks(ComputeUnit::automatic);
    std::vector<std::string> encoded, scores;
    for (const auto& sample : goldenSamples()) {
        if (!sample.contains("dumps"))
            continue;
        AudioEmbeddings embeddings;
        nets.encoder->predict(readDump(sample["dumps"]["mel"]), embeddings);
        BitsOf bits;
        bits.add(embeddings.encoder_output_embeds);
        encoded.push_back(bits.text());
        embeddings.encoder_output_embeds = readDump(sample["dumps"]["encoder"]);
        scores.push_back(scoresOf(*nets.decoder, embeddings, sample["with_timestamps"]["tokens"]).text());
    }
    EXPECT_EQ(encoded, (std::vector<std::string>{"397c758984fd4ae7", "7a8b30c8c9d86db0"}));
    EXPECT_EQ(scores, (std::vector<std::string>{"5b06a6041e4bb094", "2d62cc83652ab949"}));
}

// Widths that fill no vector of any step, so that the ends of rows count.
TEST_F(SameBits, OnEachStep_OfRandomWeightsOfOddWidths) {
    ModelArchitecture net;
    net.width = 3 * 47;
    net.encoderLayers = net.decoderLayers = 2;
    net.encoderHeads = net.decoderHeads = 3;
    net.encoderFeedForward = net.decoderFeedForward = 333;
    net.melBands = 80;
    net.vocabularySize = 51865;
    net.audioPositions = 211;
    net.textPositions = 64;
    const ModelFolder folder({net, {}});
    const ModelComputeOptions options;
    compileModel(folder.path, options, {}, {});
    ThreadPool pool(2);

    std::vector<float> mel(static_cast<std::size_t>(net.melBands) * net.melFrames());
    randomNumbers("mel", 0, mel);
    AudioEmbeddings embeddings;
    loadAudioEncoder(folder.path, options, pool)->predict(mel, embeddings);
    BitsOf encoded;
    encoded.add(embeddings.encoder_output_embeds);
    EXPECT_EQ(encoded.text(), "91fb0179b8922cc7");
    randomNumbers("audio", 0, embeddings.encoder_output_embeds);
    const std::vector<int> tokens{50258, 50259, 1, 77, 4711, 20000, 3, 9, 27, 81, 243, 729, 2187, 6561, 19683, 5};
    EXPECT_EQ(scoresOf(*loadTextDecoder(folder.path, options, pool), embeddings, tokens).text(), "fbf21ec003373a28");
}
