// The runtime at the sizes of a model of 12 layers: 768 wide, 12 heads, a window of 1500 positions, 51865 tokens.
// The first argument of a name is the number of threads. "of peak" is a kernel's share of what so many threads can do
// (Peak.h): products of bytes or floats, or bytes read. Memory that several cores share makes less of theirs.

#include "Peak.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/MatMul.h"
#include "WhisperEngine/runtime/OrderedProduct.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

using namespace fenlo::whisper;

namespace {

constexpr int positions = 1500;
constexpr int width = 768;
constexpr int heads = 12;
constexpr int vocabulary = 51865;

std::vector<float> randomFloats(std::size_t count) {
    std::mt19937 generator(1);
    std::normal_distribution<float> draw(0.0F, 1.0F);
    std::vector<float> values(count);
    for (float& value : values)
        value = draw(generator);
    return values;
}

struct Bytes {
    std::vector<std::int8_t> values;
    std::vector<float> scales;
};

Bytes randomBytes(int rows, int columns) {
    Bytes bytes{std::vector<std::int8_t>(static_cast<std::size_t>(rows) * columns), std::vector<float>(rows, 0.01F)};
    std::mt19937 generator(1);
    for (std::int8_t& value : bytes.values)
        value = static_cast<std::int8_t>(generator() % 255 - 127);
    return bytes;
}

void perSecond(benchmark::State& state, const char* unit, double each) {
    state.counters[unit] =
        benchmark::Counter(each * 1e-9 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

/// The same, and the share of what `threads` can do; `most` is what one can.
void shareOfPeak(benchmark::State& state, const char* unit, double each, double most, int threads) {
    perSecond(state, unit, each);
    if (most > 0)
        state.counters["of peak"] = benchmark::Counter(
            each / (most * threads) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void multiply(benchmark::State& state, const MatMul& layer, Activation activation, int rows, double most) {
    ThreadPool pool(static_cast<int>(state.range(0)));
    const auto src = randomFloats(static_cast<std::size_t>(rows) * layer.inputs());
    std::vector<float> dst(static_cast<std::size_t>(rows) * layer.outputs());
    for (auto _ : state)
        layer.run(src.data(), dst.data(), rows, activation, false, pool);
    shareOfPeak(state, "GFLOP/s", 2.0 * rows * layer.inputs() * layer.outputs(), most, pool.size());
}

void matMulFloat32(benchmark::State& state, int outputs, int inputs, Activation activation, int rows = positions) {
    const auto weights = randomFloats(static_cast<std::size_t>(outputs) * inputs);
    const auto bias = randomFloats(outputs);
    multiply(state, MatMul::float32(weights.data(), bias.data(), outputs, inputs), activation, rows, peak().floats);
}

/// A convolution over three frames.
void convolution(benchmark::State& state, int outputs, int channels, int step, int rows) {
    ThreadPool pool(static_cast<int>(state.range(0)));
    const auto weights = randomFloats(static_cast<std::size_t>(outputs) * 3 * channels);
    const auto bias = randomFloats(outputs);
    const OrderedProduct layer(weights.data(), bias.data(), outputs, 3 * channels);
    const auto src = randomFloats(static_cast<std::size_t>(rows * step + 2) * channels);
    std::vector<float> dst(static_cast<std::size_t>(rows) * outputs);
    for (auto _ : state)
        layer.run(src.data(), static_cast<std::size_t>(step) * channels, dst.data(), rows, pool);
    perSecond(state, "GFLOP/s", 2.0 * rows * 3 * channels * outputs);
}

void matMulInt8(benchmark::State& state, int outputs, int inputs, Activation activation, int rows = positions) {
    const Bytes weights = randomBytes(outputs, inputs);
    const auto bias = randomFloats(outputs);
    multiply(state, MatMul::int8(weights.values.data(), weights.scales.data(), bias.data(), outputs, inputs),
             activation, rows, peak().bytes);
}

void attend(benchmark::State& state, decltype(attendAll)& attention, double Peak::*most) {
    ThreadPool pool(static_cast<int>(state.range(0)));
    const auto q = randomFloats(positions * width);
    std::vector<float> dst(q.size());
    for (auto _ : state)
        attention(q.data(), q.data(), q.data(), dst.data(), positions, heads, width / heads, pool);
    shareOfPeak(state, "GFLOP/s", 4.0 * positions * positions * width, peak().*most, pool.size());
}

/// A matrix's rows in slices over the pool, as the decoder takes them.
template <class Slice>
void sliced(benchmark::State& state, int rows, double bytes, const Slice& slice) {
    ThreadPool pool(static_cast<int>(state.range(0)));
    const int each = std::min(512, rows / pool.size());
    for (auto _ : state)
        pool.run((rows + each - 1) / each, [&](int task) { slice(task * each, std::min((task + 1) * each, rows)); });
    shareOfPeak(state, "GB/s", bytes, peak().memory, pool.size());
}

void matVecFloat32(benchmark::State& state, int rows) {
    const auto weights = randomFloats(static_cast<std::size_t>(rows) * width);
    const auto x = randomFloats(width);
    std::vector<float> dst(rows);
    sliced(state, rows, 4.0 * rows * width, [&](int first, int last) {
        kernels::matVec(weights.data(), nullptr, x.data(), dst.data(), first, last, width);
    });
}

void matVecInt8(benchmark::State& state, int rows) {
    const Bytes weights = randomBytes(rows, width);
    const Bytes x = randomBytes(1, width);
    std::vector<float> dst(rows);
    sliced(state, rows, 1.0 * rows * width, [&](int first, int last) {
        kernels::matVecInt8(weights.values.data(), weights.scales.data(), nullptr, x.values.data(), 0.01F, dst.data(),
                            first, last, width);
    });
}

/// Some windows' vectors against the same weights.
void matVecsInt8(benchmark::State& state, int rows) {
    const Bytes weights = randomBytes(rows, width);
    const auto count = static_cast<int>(state.range(1));
    const Bytes x = randomBytes(count, width);
    std::vector<float> dst(static_cast<std::size_t>(rows) * count);
    std::vector<kernels::ByteVector> vectors;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
        vectors.push_back({x.values.data() + i * width, 0.01F, dst.data() + i * rows});
    sliced(state, rows, 1.0 * rows * width, [&](int first, int last) {
        kernels::matVecsInt8({weights.values.data(), weights.scales.data(), nullptr, width}, vectors, first, last);
    });
}

/// One token's attention of one layer to the window; the argument is the distance of two positions.
void attendOne(benchmark::State& state) {
    const auto stride = static_cast<std::size_t>(state.range(0));
    const std::size_t nextHead = stride == width ? width / heads : positions * stride;
    const auto keys = randomFloats(static_cast<std::size_t>(positions) * width);
    const auto values = keys;
    std::vector<float> scores(positions);
    std::vector<float> dst(width);
    for (auto _ : state)
        for (int head = 0; head < heads; ++head)
            kernels::attendOne(keys.data(), keys.data() + head * nextHead, values.data() + head * nextHead, stride,
                               nullptr, scores.data(), dst.data(), positions, width / heads);
    shareOfPeak(state, "GB/s", 8.0 * positions * width, peak().memory, 1);
}

template <class Kernel>
void rowKernel(benchmark::State& state, const Kernel& kernel) {
    const int count = static_cast<int>(state.range(0));
    const auto values = randomFloats(count);
    auto row = values;
    for (auto _ : state) {
        kernel(values, row, count);
        benchmark::ClobberMemory();
    }
    perSecond(state, "Gvalues/s", count);
}

void softmax(benchmark::State& state) {
    rowKernel(state, [](const auto&, auto& row, int count) { kernels::softmax(row.data(), count); });
}
void gelu(benchmark::State& state) {
    rowKernel(state, [](const auto& values, auto& row, int count) {
        std::copy(values.begin(), values.end(), row.begin());
        kernels::gelu(row.data(), count);
    });
}
void layerNorm(benchmark::State& state) {
    rowKernel(state, [](const auto& values, auto& row, int count) {
        kernels::layerNorm(values.data(), values.data(), values.data(), row.data(), count);
    });
}
void logSumExp(benchmark::State& state) {
    rowKernel(state, [](const auto& values, auto&, int count) {
        benchmark::DoNotOptimize(kernels::logSumExp(values.data(), count, kernels::largest(values.data(), count)));
    });
}
void quantize(benchmark::State& state) {
    std::vector<std::int8_t> bytes(state.range(0));
    rowKernel(state, [&bytes](const auto& values, auto&, int count) {
        benchmark::DoNotOptimize(kernels::quantize(values.data(), bytes.data(), count));
    });
}

void poolRoundTrip(benchmark::State& state) {
    ThreadPool pool(static_cast<int>(state.range(0)));
    for (auto _ : state)
        pool.run(pool.size(), [](int) {});
}

BENCHMARK_CAPTURE(matMulFloat32, 1500x768x768, width, width, Activation::none)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matMulFloat32, 1500x3072x768_gelu, 4 * width, width, Activation::gelu)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matMulFloat32, 1500x768x3072, width, 4 * width, Activation::none)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matMulFloat32, 4x768x768, width, width, Activation::none, 4)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matMulFloat32, 3000x768x240_gelu, width, 240, Activation::gelu, 3000)->Arg(1)->UseRealTime();
BENCHMARK_CAPTURE(matMulFloat32, 1500x768x2304_gelu, width, 3 * width, Activation::gelu)->Arg(1)->UseRealTime();
BENCHMARK_CAPTURE(convolution, 3000x768x240, width, 80, 1, 3000)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(convolution, 1500x768x2304, width, width, 2, positions)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matMulInt8, 1500x768x768, width, width, Activation::none)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matMulInt8, 1500x3072x768_gelu, 4 * width, width, Activation::gelu)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matMulInt8, 1500x768x3072, width, 4 * width, Activation::none)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matMulInt8, 4x768x768, width, width, Activation::none, 4)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(attend, float32, attendAll, &Peak::floats)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(attend, int8, attendAllInt8, &Peak::bytes)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matVecFloat32, 51865x768, vocabulary)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matVecFloat32, 256x768, 256)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matVecInt8, 51865x768, vocabulary)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matVecInt8, 768x768, width)->Arg(1)->Arg(2)->UseRealTime();
BENCHMARK_CAPTURE(matVecsInt8, 51865x768, vocabulary)->Args({1, 2})->Args({1, 4})->Args({1, 8})->UseRealTime();
BENCHMARK_CAPTURE(matVecsInt8, 768x768, width)->Args({1, 2})->Args({1, 4})->Args({1, 8})->UseRealTime();
BENCHMARK(attendOne)->Arg(width)->Arg(width / heads);
BENCHMARK(softmax)->Arg(1500);
BENCHMARK(gelu)->Arg(3072);
BENCHMARK(layerNorm)->Arg(768);
BENCHMARK(logSumExp)->Arg(51865);
BENCHMARK(quantize)->Arg(768);
BENCHMARK(poolRoundTrip)->Arg(2)->UseRealTime();

} // namespace
