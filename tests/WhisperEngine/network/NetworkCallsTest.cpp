// What the calls of the networks promise apart from their values.

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/AllocationCount.h"
#include "WhisperEngine/network/GoldenModel.h"

#include <gtest/gtest.h>
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
