// What the calls of the networks promise apart from their values.

#include "WhisperEngine/TextDecoder/StepBatch.h"
#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/AllocationCount.h"
#include "WhisperEngine/network/GoldenModel.h"

#include <gtest/gtest.h>
#include <latch>
#include <thread>

using namespace fenlo::test;
using namespace fenlo::whisper;

TEST(NetworkCalls, OneModelServesTwoThreadsAtOnceAndRepeatsBitForBit) {
    const Networks& nets = networks(ComputeUnit::automatic);
    const nlohmann::json sample = goldenSamples()[1];
    const auto lastLogits = [&] {
        const AudioEmbeddings embeddings = embeddingsOf(nets, sample);
        Decoding decoding(*nets.decoder, embeddings);
        for (const int token : {50257, 50362, 775, 815})
            decoding.step(token);
        return decoding.logits;
    };
    const std::vector<float> alone = lastLogits();
    std::vector<float> first, second;
    {
        std::jthread one([&] { first = lastLogits(); });
        std::jthread two([&] { second = lastLogits(); });
    }
    EXPECT_EQ(first, alone);
    EXPECT_EQ(second, alone);
}

namespace {

constexpr std::size_t count = 8;

/// Decodes eight clips, the first from position 0 on, the next from 1, and gives each one's cache and scores. In the
/// batch, if there is one.
std::vector<std::unique_ptr<Decoding>> decodeEach(const Networks& nets, const std::vector<AudioEmbeddings>& embeddings,
                                                  StepBatch* batch) {
    const std::vector<int> tokens{50257, 50362, 775, 815, 2198, 318, 257, 1332, 286, 262, 1097, 290};
    std::vector<std::unique_ptr<Decoding>> decodings;
    std::vector<std::jthread> threads;
    std::latch allAreIn(count);
    for (std::size_t row = 0; row < count; ++row) {
        const AudioEmbeddings& clip = embeddings[row % embeddings.size()];
        Decoding& decoding = *decodings.emplace_back(std::make_unique<Decoding>(*nets.decoder, clip));
        for (std::size_t step = 0; step < row; ++step)
            decoding.step(tokens[step]);
        const auto steps = [&, row, batch](CacheStepper& stepper) {
            for (std::size_t step = row; step < row + 4; ++step)
                stepper.step(tokens[step % tokens.size()], step % 3 == 1 ? std::span<float>() : decoding.logits);
        };
        if (!batch) {
            steps(decoding.stepper);
            continue;
        }
        threads.emplace_back([&nets, &decoding, &clip, &allAreIn, steps, batch] {
            StepBatch::Window window(*batch);
            allAreIn.arrive_and_wait();
            CacheStepper stepper(*nets.decoder, clip, decoding.inputs,
                                 [&](const TextDecoderModel::Call& call) { window.step(call, {}); });
            steps(stepper);
        });
    }
    threads.clear();
    return decodings;
}

} // namespace

/// Each has its own clip and position, and some want no scores, as inside a prompt.
TEST(GoldenNetwork, DecodingsSideBySideHaveTheBitsThatTheyHaveAlone) {
    for (const ComputeUnit unit : {ComputeUnit::automatic, ComputeUnit::float32}) {
        const Networks& nets = networks(unit);
        std::vector<AudioEmbeddings> embeddings;
        for (std::size_t i = 0; i < 3; ++i)
            embeddings.push_back(embeddingsOf(nets, goldenSamples()[i]));
        StepBatch batch(*nets.decoder);
        const auto alone = decodeEach(nets, embeddings, nullptr);
        const auto together = decodeEach(nets, embeddings, &batch);
        for (std::size_t row = 0; row < count; ++row) {
            SCOPED_TRACE(row);
            EXPECT_EQ(together[row]->logits, alone[row]->logits);
            EXPECT_EQ(together[row]->inputs.keyCache, alone[row]->inputs.keyCache);
            EXPECT_EQ(together[row]->inputs.valueCache, alone[row]->inputs.valueCache);
            EXPECT_EQ(together[row]->inputs.alignmentWeights, alone[row]->inputs.alignmentWeights);
        }
    }
}

TEST(NetworkCalls, CallsWithWrongSizesAreRefused) {
    const Networks& nets = networks(ComputeUnit::automatic);
    std::vector<float> few(10);
    AudioEmbeddings embeddings;
    EXPECT_THROW(nets.mel->predict(few, few), WhisperError);
    EXPECT_THROW(nets.encoder->predict(few, embeddings), WhisperError);
    EXPECT_THROW(nets.decoder->attach(embeddings), WhisperError);
    Decoding decoding(*nets.decoder, embeddings);
    EXPECT_THROW(decoding.step(50257), WhisperError); // not attached
    embeddings.encoder_output_embeds.resize(1500 * 128);
    nets.decoder->attach(embeddings);
    EXPECT_THROW(decoding.step(-1), WhisperError);
    EXPECT_THROW(decoding.step(51864), WhisperError);
    EXPECT_NO_THROW(decoding.step(51863));
}

TEST(NetworkCalls, AStopEndsTheWorkOnAWindow) {
    const Networks& nets = networks(ComputeUnit::automatic);
    const std::vector<float> mel = melOf(nets, goldenSamples()[1]);
    std::stop_source stop;
    AudioEmbeddings whole, stopped;
    nets.encoder->predictUntil(mel, whole, stop.get_token());
    nets.decoder->attachUntil(whole, stop.get_token());
    EXPECT_TRUE(whole.derived);
    stop.request_stop();
    nets.encoder->predictUntil(mel, stopped, stop.get_token());
    EXPECT_NE(stopped.encoder_output_embeds, whole.encoder_output_embeds) << "no layer was run";
    nets.decoder->attachUntil(stopped, stop.get_token());
    EXPECT_FALSE(stopped.derived);
}

TEST(NetworkCalls, AStepOfTheDecoderAllocatesNothing) {
    const Networks& nets = networks(ComputeUnit::automatic);
    const AudioEmbeddings embeddings = embeddingsOf(nets, goldenSamples()[1]);
    Decoding decoding(*nets.decoder, embeddings);
    decoding.step(50257);
    const int before = allocationCount();
    for (const int token : {50362, 775, 815, 2198})
        decoding.step(token);
    EXPECT_EQ(allocationCount(), before);
}
