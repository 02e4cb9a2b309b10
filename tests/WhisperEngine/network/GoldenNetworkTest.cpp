// The three networks against an independent implementation of the same model: its features, embeddings and scores for
// two clips, and its tokens for twelve.

#include "WhisperEngine/WhisperError.h"
#include "WhisperEngine/network/ModelConfig.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Files.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <thread>

using namespace fenlo;
using namespace fenlo::whisper;
namespace fs = std::filesystem;

namespace {

const fs::path samplesFolder = fs::path(GOLDEN_FOLDER) / "samples";

struct Networks {
    std::unique_ptr<MelSpectrogramModel> mel;
    std::unique_ptr<AudioEncoderModel> encoder;
    std::unique_ptr<TextDecoderModel> decoder;
};

ThreadPool& pool() {
    static ThreadPool threads(2);
    return threads;
}

/// Compiled beside links to the checkpoint, once for each precision.
const Networks& networks(ComputeUnit unit) {
    static std::map<ComputeUnit, Networks> loaded;
    if (const auto found = loaded.find(unit); found != loaded.end())
        return found->second;
    const fs::path folder = files::temporaryFile("model-", "");
    fs::create_directory(folder);
    for (const auto& file : fs::directory_iterator(DEMO_MODEL_FOLDER))
        fs::create_symlink(file.path(), folder / file.path().filename());
    const ModelComputeOptions options{unit, unit, unit, unit};
    compileModel(folder, options, {}, {});
    EXPECT_TRUE(isCompiled(folder, options));
    return loaded[unit] = {loadMelSpectrogram(folder, options, pool()), loadAudioEncoder(folder, options, pool()),
                           loadTextDecoder(folder, options, pool())};
}

std::vector<float> readDump(const nlohmann::json& dump) {
    const std::string bytes = files::read(samplesFolder / dump["file"].get<std::string>()).value();
    std::vector<float> values(bytes.size() / sizeof(float));
    std::memcpy(values.data(), bytes.data(), bytes.size());
    return values;
}

/// One window: 16-bit samples behind a header of 44 bytes, then zeros.
std::vector<float> readWindow(const nlohmann::json& sample, int length) {
    const std::string bytes = files::read(samplesFolder / sample["file"].get<std::string>()).value();
    std::vector<float> audio(static_cast<std::size_t>(length));
    for (std::size_t i = 0; 44 + 2 * i + 1 < bytes.size(); ++i) {
        std::int16_t value = 0;
        std::memcpy(&value, bytes.data() + 44 + 2 * i, 2);
        audio[i] = static_cast<float>(value) / 32768.0f;
    }
    return audio;
}

std::vector<nlohmann::json> samples() {
    return nlohmann::json::parse(files::read(samplesFolder / "samples.json").value());
}

float largestDifference(std::span<const float> actual, std::span<const float> expected) {
    EXPECT_EQ(actual.size(), expected.size());
    float largest = 0;
    for (std::size_t i = 0; i < std::min(actual.size(), expected.size()); ++i)
        largest = std::max(largest, std::fabs(actual[i] - expected[i]));
    return largest;
}

std::vector<float> melOf(const Networks& nets, const nlohmann::json& sample) {
    std::vector<float> features(static_cast<std::size_t>(nets.mel->melBands() * nets.mel->melFrames()));
    nets.mel->predict(readWindow(sample, nets.mel->windowSamples()), features);
    return features;
}

AudioEmbeddings embeddingsOf(const Networks& nets, const nlohmann::json& sample) {
    AudioEmbeddings embeddings;
    nets.encoder->predict(melOf(nets, sample), embeddings);
    nets.decoder->attach(embeddings);
    return embeddings;
}

/// The cache as the decoding loop keeps it.
class Decoding {
public:
    explicit Decoding(const TextDecoderModel& model)
        : m_model(model), m_width(static_cast<std::size_t>(model.kvCacheEmbedDim().value())),
          m_positions(static_cast<std::size_t>(model.kvCacheMaxSequenceLength().value())),
          m_keys(m_positions * m_width), m_values(m_keys.size()), m_update(m_positions), m_padding(m_positions, -1e4f),
          alignment(static_cast<std::size_t>(model.audioFrames())),
          logits(static_cast<std::size_t>(model.logitsSize().value())), m_scratch(model.makeScratch()) {}

    void step(int token, const AudioEmbeddings& embeddings) {
        const auto position = static_cast<std::size_t>(m_length);
        m_padding[position] = 0.0f;
        m_update[position] = 1.0f;
        const TextDecoderInputs inputs{token, m_length, m_keys, m_values, m_update, m_padding, &embeddings, true, true};
        std::vector<float> key(m_width), value(m_width);
        m_model.predict(inputs, {logits, key, value, alignment}, *m_scratch);
        std::ranges::copy(key, m_keys.begin() + static_cast<std::ptrdiff_t>(position * m_width));
        std::ranges::copy(value, m_values.begin() + static_cast<std::ptrdiff_t>(position * m_width));
        m_update[position] = 0.0f;
        ++m_length;
    }

private:
    const TextDecoderModel& m_model;
    std::size_t m_width, m_positions;
    std::vector<float> m_keys, m_values, m_update, m_padding;

public:
    std::vector<float> alignment, logits;

private:
    std::unique_ptr<TextDecoderModel::Scratch> m_scratch;
    int m_length = 0;
};

std::vector<int> greedyTokens(const TextDecoderModel& decoder, const AudioEmbeddings& embeddings) {
    constexpr int startOfTranscript = 50257, endOfText = 50256, noTimestamps = 50362, longest = 80;
    static const ModelConfig config = readModelConfig(DEMO_MODEL_FOLDER);
    Decoding decoding(decoder);
    std::vector<int> tokens;
    decoding.step(startOfTranscript, embeddings);
    for (int next = noTimestamps; tokens.size() < longest; tokens.push_back(next)) {
        decoding.step(next, embeddings);
        const auto suppress = [&](const std::vector<int>& some) {
            for (const int token : some)
                decoding.logits[static_cast<std::size_t>(token)] = -INFINITY;
        };
        suppress(config.suppressTokens);
        if (tokens.empty())
            suppress(config.beginSuppressTokens);
        next = kernels::argMax(decoding.logits.data(), static_cast<int>(decoding.logits.size()));
        if (next == endOfText)
            break;
    }
    return tokens;
}

} // namespace

TEST(GoldenNetwork, EachPartOfTheReferencePrecisionGivesTheReferenceValues) {
    const Networks& nets = networks(ComputeUnit::float32);
    int dumped = 0;
    for (const auto& sample : samples()) {
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
        Decoding decoding(*nets.decoder);
        int token = 50257;
        for (std::size_t row = 0; row < 5; ++row) {
            decoding.step(token, embeddings);
            const auto reference = std::span(logits).subspan(row * decoding.logits.size(), decoding.logits.size());
            EXPECT_LT(largestDifference(decoding.logits, reference), 1e-3f) << "step " << row;
            token = sample["with_timestamps"]["tokens"][row];
        }
    }
    EXPECT_EQ(dumped, 2);
}

TEST(GoldenNetwork, EightBitWeightsKeepTheBestTokenOfEachStep) {
    const Networks& nets = networks(ComputeUnit::automatic);
    for (const auto& sample : samples()) {
        if (!sample.contains("dumps"))
            continue;
        const AudioEmbeddings embeddings = embeddingsOf(nets, sample);
        const std::vector<float> logits = readDump(sample["dumps"]["logits"]);
        Decoding decoding(*nets.decoder);
        const int size = static_cast<int>(decoding.logits.size());
        int token = 50257;
        for (int row = 0; row < 5; ++row) {
            decoding.step(token, embeddings);
            EXPECT_EQ(kernels::argMax(decoding.logits.data(), size),
                      kernels::argMax(logits.data() + static_cast<std::ptrdiff_t>(row) * size, size))
                << sample["file"] << ", step " << row;
            token = sample["with_timestamps"]["tokens"][static_cast<std::size_t>(row)];
        }
    }
}

TEST(GoldenNetwork, GreedyTokensAreTheReferencesInBothPrecisions) {
    for (const ComputeUnit unit : {ComputeUnit::float32, ComputeUnit::automatic})
        for (const auto& sample : samples())
            EXPECT_EQ(greedyTokens(*networks(unit).decoder, embeddingsOf(networks(unit), sample)),
                      sample["no_timestamps"]["tokens"].get<std::vector<int>>())
                << sample["file"] << (unit == ComputeUnit::float32 ? ", 32-bit floats" : ", 8 bits");
}

TEST(GoldenNetwork, AttentionToTheAudioMovesForward) {
    const Networks& nets = networks(ComputeUnit::automatic);
    const nlohmann::json sample = samples()[0];
    const AudioEmbeddings embeddings = embeddingsOf(nets, sample);
    Decoding decoding(*nets.decoder);
    std::vector<int> peaks;
    for (const int token : {50257, 50362}) // the prompt
        decoding.step(token, embeddings);
    for (const int token : sample["no_timestamps"]["tokens"]) {
        decoding.step(token, embeddings);
        float sum = 0;
        for (const float weight : decoding.alignment)
            sum += weight;
        EXPECT_NEAR(sum, 1.0f, 1e-3f);
        peaks.push_back(kernels::argMax(decoding.alignment.data(), static_cast<int>(decoding.alignment.size())));
    }
    // Frames of 0.02 s: the sentence lies between 0.74 and 4.07 s of the clip.
    EXPECT_TRUE(std::ranges::is_sorted(peaks)) << testing::PrintToString(peaks);
    EXPECT_GT(peaks.front(), 30);
    EXPECT_LT(peaks.back(), 215);
}

TEST(GoldenNetwork, OneModelServesTwoThreadsAtOnceAndRepeatsBitForBit) {
    const Networks& nets = networks(ComputeUnit::automatic);
    const nlohmann::json sample = samples()[1];
    const auto lastLogits = [&] {
        const AudioEmbeddings embeddings = embeddingsOf(nets, sample);
        Decoding decoding(*nets.decoder);
        for (const int token : {50257, 50362, 775, 815})
            decoding.step(token, embeddings);
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

TEST(GoldenNetwork, CallsWithWrongSizesAreRefused) {
    const Networks& nets = networks(ComputeUnit::automatic);
    std::vector<float> few(10);
    AudioEmbeddings embeddings;
    EXPECT_THROW(nets.mel->predict(few, few), WhisperError);
    EXPECT_THROW(nets.encoder->predict(few, embeddings), WhisperError);
    EXPECT_THROW(nets.decoder->attach(embeddings), WhisperError);
    Decoding decoding(*nets.decoder);
    EXPECT_THROW(decoding.step(50257, embeddings), WhisperError); // not attached
    embeddings.encoder_output_embeds.resize(1500 * 128);
    nets.decoder->attach(embeddings);
    EXPECT_THROW(decoding.step(-1, embeddings), WhisperError);
    EXPECT_THROW(decoding.step(51864, embeddings), WhisperError);
    EXPECT_NO_THROW(decoding.step(51863, embeddings));
}
