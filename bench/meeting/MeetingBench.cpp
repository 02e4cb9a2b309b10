// What a chunk of a meeting costs when it is cut: the parts of the step that is taken between two ticks of 33 ms.

#include "audio/ChunkWriter.h"
#include "audio/WavFile.h"
#include "base/Files.h"
#include "media/SpeechRate.h"
#include "meeting/SpeakerIdentifier.h"

#include <benchmark/benchmark.h>
#include <cmath>

using namespace fenlo;

namespace {

constexpr double seconds = 10; // the longest chunk
constexpr double hardwareRate = 48000;

/// A hum that glides between a low and a high voice, with pauses.
std::vector<float> voices(double rate) {
    std::vector<float> samples(static_cast<std::size_t>(seconds * rate));
    double phase = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / rate;
        phase += 2 * M_PI * (170 + 60 * std::sin(time)) / rate;
        if (std::fmod(time, 1.0) < 0.85)
            samples[i] =
                static_cast<float>(0.2 * std::sin(phase) + 0.1 * std::sin(2 * phase) + 0.1 * std::sin(5 * phase));
    }
    return samples;
}

void resampleChunk(benchmark::State& state) {
    const std::vector<float> samples = voices(hardwareRate);
    for (auto _ : state)
        benchmark::DoNotOptimize(resampleForChunk(samples, hardwareRate));
}

void identifySpeaker(benchmark::State& state) {
    const std::vector<float> samples = voices(speechRate);
    SpeakerIdentifier identifier;
    for (auto _ : state)
        benchmark::DoNotOptimize(identifier.identify(samples, speechRate));
}

void bandsOfChunk(benchmark::State& state) {
    const std::vector<float> samples = voices(speechRate);
    SpeakerBands bands;
    for (auto _ : state)
        benchmark::DoNotOptimize(bands.of(samples, speechRate));
}

void writeChunkFile(benchmark::State& state) {
    const std::vector<float> samples = voices(speechRate);
    for (auto _ : state) {
        const auto file = files::temporaryFile("bench-", ".wav");
        writeWav(file, samples, speechRate, WavEncoding::float32);
        state.PauseTiming();
        files::removeQuietly(file);
        state.ResumeTiming();
    }
}

BENCHMARK(resampleChunk)->Unit(benchmark::kMillisecond);
BENCHMARK(identifySpeaker)->Unit(benchmark::kMillisecond);
BENCHMARK(bandsOfChunk)->Unit(benchmark::kMillisecond);
BENCHMARK(writeChunkFile)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
