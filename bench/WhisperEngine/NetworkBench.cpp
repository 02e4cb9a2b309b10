// How long each network takes for one window or one token, with the small trained model or with the checkpoint in the
// folder that FENLO_BENCH_MODEL names.

#include "WhisperEngine/TextDecoder/CacheStepper.h"
#include "WhisperEngine/TextDecoder/DecodingInputs.h"
#include "WhisperEngine/network/ModelFiles.h"
#include "WhisperEngine/runtime/ThreadPool.h"
#include "base/Files.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdlib>

using namespace fenlo;
using namespace fenlo::whisper;
namespace fs = std::filesystem;

namespace {

/// Links to the checkpoint: compiling writes beside them.
const fs::path& modelFolder() {
    static const fs::path folder = [] {
        const char* chosen = std::getenv("FENLO_BENCH_MODEL");
        fs::path made = files::temporaryFile("bench-model-", "");
        fs::create_directory(made);
        for (const auto& file : fs::directory_iterator(chosen ? chosen : DEMO_MODEL_FOLDER))
            if (file.is_regular_file())
                fs::create_symlink(fs::absolute(file.path()), made / file.path().filename());
        return made;
    }();
    return folder;
}

ModelComputeOptions optionsOf(const benchmark::State& state) {
    const ComputeUnit unit = state.range(0) ? ComputeUnit::float32 : ComputeUnit::automatic;
    return {unit, unit, unit, unit};
}

const fs::path& compiledFolder(const ModelComputeOptions& options) {
    if (!isCompiled(modelFolder(), options))
        compileModel(modelFolder(), options, {}, {});
    return modelFolder();
}

ThreadPool& pool() {
    static ThreadPool threads;
    return threads;
}

std::vector<float> tone(int samples, int sounding) {
    std::vector<float> audio(static_cast<std::size_t>(samples));
    for (int i = 0; i < sounding; ++i)
        audio[static_cast<std::size_t>(i)] = std::sin(0.05f * static_cast<float>(i)) * 0.3f;
    return audio;
}

void compile(benchmark::State& state) {
    for (auto _ : state)
        compileModel(modelFolder(), optionsOf(state), {}, {});
}

void load(benchmark::State& state) {
    const ModelComputeOptions options = optionsOf(state);
    const fs::path& folder = compiledFolder(options);
    for (auto _ : state) {
        loadMelSpectrogram(folder, options, pool());
        loadAudioEncoder(folder, options, pool());
        loadTextDecoder(folder, options, pool());
    }
}

void melSpectrogram(benchmark::State& state) {
    const auto mel = loadMelSpectrogram(compiledFolder({}), {}, pool());
    const std::vector<float> audio = tone(mel->windowSamples(), static_cast<int>(state.range(0)) * 16000);
    std::vector<float> features(static_cast<std::size_t>(mel->melBands() * mel->melFrames()));
    for (auto _ : state)
        mel->predict(audio, features);
}

AudioEmbeddings encode(const AudioEncoderModel& encoder) {
    const std::vector<float> features(static_cast<std::size_t>(encoder.melBands() * encoder.melFrames()), 0.1f);
    AudioEmbeddings embeddings;
    encoder.predict(features, embeddings);
    return embeddings;
}

void audioEncoder(benchmark::State& state) {
    const ModelComputeOptions options = optionsOf(state);
    const auto encoder = loadAudioEncoder(compiledFolder(options), options, pool());
    encode(*encoder); // the first call makes the products
    for (auto _ : state)
        encode(*encoder);
}

void attach(benchmark::State& state) {
    const ModelComputeOptions options = optionsOf(state);
    AudioEmbeddings embeddings = encode(*loadAudioEncoder(compiledFolder(options), options, pool()));
    const auto decoder = loadTextDecoder(modelFolder(), options, pool());
    for (auto _ : state)
        decoder->attach(embeddings);
}

void decoderStep(benchmark::State& state) {
    const ModelComputeOptions options = optionsOf(state);
    AudioEmbeddings embeddings = encode(*loadAudioEncoder(compiledFolder(options), options, pool()));
    const auto decoder = loadTextDecoder(modelFolder(), options, pool());
    decoder->attach(embeddings);
    auto inputs = DecodingInputs::forModel(*decoder, decoder->kvCacheMaxSequenceLength().value(), true);
    CacheStepper stepper(*decoder, embeddings, inputs);
    std::vector<float> logits(static_cast<std::size_t>(*decoder->logitsSize()));
    for (int position = 0; position < state.range(1); ++position)
        stepper.step(50, logits);
    for (auto _ : state) {
        inputs.cacheLength = static_cast<int>(state.range(1)); // the same position each time
        stepper.step(50, logits);
    }
}

// The first argument: 0 for 8-bit weights, 1 for the 32-bit reference.
BENCHMARK(compile)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(load)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(melSpectrogram)
    ->ArgName("seconds")
    ->Arg(5)
    ->Arg(30)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(audioEncoder)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(attach)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK(decoderStep)
    ->Args({0, 20})
    ->Args({0, 200})
    ->Args({1, 20})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    std::error_code ignored;
    fs::remove_all(modelFolder(), ignored);
    return 0;
}
