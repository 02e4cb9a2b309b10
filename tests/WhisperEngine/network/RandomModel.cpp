#include "WhisperEngine/network/RandomModel.h"

#include "WhisperEngine/network/GoldenModel.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Files.h"

#include <cmath>
#include <numbers>

namespace fenlo::test {

using namespace whisper;
namespace fs = std::filesystem;

namespace {

/// A sweep from 100 Hz upwards over a little noise, then silence.
std::vector<float> signal() {
    std::vector<float> audio(480000);
    const auto sounding = std::span(audio).first(320000);
    randomNumbers("signal", 0, sounding);
    for (std::size_t i = 0; i < sounding.size(); ++i) {
        const double t = static_cast<double>(i) / 16000;
        const double sweep = 0.3 * std::sin(2 * std::numbers::pi * (100 * t + 180 * t * t));
        sounding[i] = static_cast<float>(sweep) + 0.02f * sounding[i];
    }
    return audio;
}

Networks load(const fs::path& folder, ComputeUnit unit, ThreadPool& pool) {
    const ModelComputeOptions options{unit, unit, unit, unit};
    compileModel(folder, options, {}, {});
    return {loadMelSpectrogram(folder, options, pool), loadAudioEncoder(folder, options, pool),
            loadTextDecoder(folder, options, pool)};
}

Outputs run(const Networks& nets, const std::vector<int>& tokens) {
    Outputs outputs;
    outputs.mel.resize(static_cast<std::size_t>(nets.mel->melBands() * nets.mel->melFrames()));
    nets.mel->predict(signal(), outputs.mel);
    AudioEmbeddings embeddings;
    nets.encoder->predict(outputs.mel, embeddings);
    outputs.encoder = embeddings.encoder_output_embeds;
    nets.decoder->attach(embeddings);
    Decoding decoding(*nets.decoder, embeddings);
    for (const int token : tokens) {
        decoding.step(token);
        outputs.logits.push_back(decoding.logits);
    }
    return outputs;
}

} // namespace

ModelFolder::ModelFolder(const RandomCheckpoint& checkpoint) : path(files::temporaryFile("model-", "")) {
    checkpoint.write(path);
}

ModelFolder::~ModelFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

Outputs outputsOf(const ModelFolder& folder, ComputeUnit unit, const std::vector<int>& tokens, ThreadPool& pool) {
    return run(load(folder.path, unit, pool), tokens);
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

} // namespace fenlo::test
