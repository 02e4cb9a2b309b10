// What voices cost: the features alone, and the cutting of a ten-second recording, which a take waits for.

#include "audio/voice/VoiceMatch.h"

#include <benchmark/benchmark.h>
#include <cmath>

using namespace fenlo;

namespace {

/// A hum that glides between a low and a high voice, with pauses.
std::vector<float> voices(int seconds) {
    std::vector<float> samples(static_cast<std::size_t>(seconds * voice::sampleRate));
    double phase = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double time = static_cast<double>(i) / voice::sampleRate;
        phase += 2 * M_PI * (170 + 60 * std::sin(time)) / voice::sampleRate;
        if (std::fmod(time, 1.0) < 0.85)
            samples[i] =
                static_cast<float>(0.2 * std::sin(phase) + 0.1 * std::sin(2 * phase) + 0.1 * std::sin(5 * phase));
    }
    return samples;
}

const std::vector<float>& tenSeconds() {
    static const std::vector<float> samples = voices(10);
    return samples;
}

template <auto feature>
void featureOfTenSeconds(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(feature(tenSeconds()));
}

void isolateTenSeconds(benchmark::State& state) {
    const VoiceProfileData profile = measureVoice(std::span(tenSeconds()).first(48000));
    for (auto _ : state)
        benchmark::DoNotOptimize(isolated(tenSeconds(), windowScores(tenSeconds(), profile)));
}

BENCHMARK(featureOfTenSeconds<voice::pitchTrack>)->Unit(benchmark::kMillisecond);
BENCHMARK(featureOfTenSeconds<voice::spectralCentroid>)->Unit(benchmark::kMillisecond);
BENCHMARK(featureOfTenSeconds<voice::meanMFCC>)->Unit(benchmark::kMillisecond);
BENCHMARK(featureOfTenSeconds<voice::compactFeatures>)->Unit(benchmark::kMillisecond);
BENCHMARK(isolateTenSeconds)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
