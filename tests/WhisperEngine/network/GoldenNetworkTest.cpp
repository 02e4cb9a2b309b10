// The three networks against an independent implementation of the same model: its features, embeddings and scores for
// two clips. Its tokens for all clips, in both precisions, and the times of its words are compared by GoldenTest.

#include "WhisperEngine/network/GoldenModel.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using namespace fenlo::test;
using namespace fenlo::whisper;

namespace {

float largestDifference(std::span<const float> actual, std::span<const float> expected) {
    EXPECT_EQ(actual.size(), expected.size());
    float largest = 0;
    for (std::size_t i = 0; i < std::min(actual.size(), expected.size()); ++i)
        largest = std::max(largest, std::fabs(actual[i] - expected[i]));
    return largest;
}

} // namespace

TEST(GoldenNetwork, EachPartOfTheReferencePrecisionGivesTheReferenceValues) {
    const Networks& nets = networks(ComputeUnit::float32);
    int dumped = 0;
    for (const auto& sample : goldenSamples()) {
        if (!sample.contains("dumps"))
            continue;
        SCOPED_TRACE(sample["file"]);
        ++dumped;
        const std::vector<float> mel = readDump(sample["dumps"]["mel"]);
        EXPECT_LT(largestDifference(melOf(nets, sample), mel), 1e-4f);

        AudioEmbeddings embeddings;
        nets.encoder->predict(mel, embeddings);
        const std::vector<float> expected = readDump(sample["dumps"]["encoder"]);
        EXPECT_LT(largestDifference(embeddings.encoder_output_embeds, expected), 1e-3f);

        embeddings.encoder_output_embeds = expected;
        nets.decoder->attach(embeddings);
        const std::vector<float> logits = readDump(sample["dumps"]["logits"]);
        Decoding decoding(*nets.decoder, embeddings);
        int token = 50257;
        for (std::size_t row = 0; row < 5; ++row) {
            decoding.step(token);
            const auto reference = std::span(logits).subspan(row * decoding.logits.size(), decoding.logits.size());
            EXPECT_LT(largestDifference(decoding.logits, reference), 1e-3f) << "step " << row;
            token = sample["with_timestamps"]["tokens"][row];
        }
    }
    EXPECT_EQ(dumped, 2);
}

TEST(GoldenNetwork, GivesTheSameBits_WhateverTheThreads) {
    const nlohmann::json sample = goldenSamples()[0];
    for (const ComputeUnit unit : {ComputeUnit::float32, ComputeUnit::automatic}) {
        std::vector<float> mel, encoded, logits;
        for (const int threads : {1, 2, 5}) {
            const Networks& nets = networks(unit, threads);
            const AudioEmbeddings embeddings = embeddingsOf(nets, sample);
            Decoding decoding(*nets.decoder, embeddings);
            std::vector<float> scores;
            for (const int token : {50257, 50362, 318, 257}) {
                decoding.step(token);
                scores.insert(scores.end(), decoding.logits.begin(), decoding.logits.end());
            }
            if (threads == 1) {
                mel = melOf(nets, sample);
                encoded = embeddings.encoder_output_embeds;
                logits = scores;
            }
            EXPECT_EQ(melOf(nets, sample), mel) << threads;
            EXPECT_EQ(embeddings.encoder_output_embeds, encoded) << threads;
            EXPECT_EQ(scores, logits) << threads;
        }
    }
}
