#include "WhisperEngine/runtime/SelfTest.h"

#include "WhisperEngine/runtime/AttendInt8Kernels.h"
#include "WhisperEngine/runtime/Kernels.h"
#include "WhisperEngine/runtime/MatMul.h"
#include "WhisperEngine/runtime/OrderedProduct.h"
#include "WhisperEngine/runtime/ThreadPool.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace fenlo::whisper {

namespace {

namespace plain = kernels::reference;

constexpr float epsilon = 0x1p-23F;

/// Numbers without a pattern, the same in each run (Knuth's linear congruential generator).
class Numbers {
public:
    /// In [-1, 1).
    float next() {
        m_state = m_state * 6364136223846793005U + 1442695040888963407U;
        return static_cast<float>(static_cast<std::int32_t>(m_state >> 32)) * 0x1p-31F;
    }
    int integer(int limit) { return static_cast<int>(next() * static_cast<float>(limit)); }
    std::vector<float> floats(int count, float factor = 1.0F) {
        std::vector<float> values(static_cast<std::size_t>(count));
        std::ranges::generate(values, [&] { return factor * next(); });
        return values;
    }

private:
    std::uint64_t m_state = 1;
};

/// False where a result is NaN.
bool near(const std::vector<float>& actual, const std::vector<float>& expected, float tolerance) {
    return std::ranges::equal(actual, expected,
                              [tolerance](float a, float b) { return std::fabs(a - b) <= tolerance; });
}

struct Size {
    int rows, outputs, inputs;
};
/// A block of the encoder's with its rest at the width of a small model, and sizes that fill no vector.
constexpr Size sizes[] = {{49, 64, 384}, {48, 33, 80}, {3, 7, 5}, {1, 1, 1}};

bool linearIsRight(const Products& products, Size size) {
    Numbers numbers;
    const auto weights = numbers.floats(size.outputs * size.inputs, 0.5F);
    const auto bias = numbers.floats(size.outputs);
    const auto src = numbers.floats(size.rows * size.inputs);
    auto actual = numbers.floats(size.rows * size.outputs);
    auto expected = actual;
    std::vector<float> row(static_cast<std::size_t>(size.outputs));
    for (std::ptrdiff_t i = 0; i < size.rows; ++i) {
        plain::matVec(weights.data(), bias.data(), src.data() + i * size.inputs, row.data(), 0, size.outputs,
                      size.inputs);
        plain::gelu(row.data(), size.outputs);
        plain::add(expected.data() + i * size.outputs, row.data(), size.outputs);
    }
    products.linear(weights.data(), bias.data(), size.outputs, size.inputs, src.data(), actual.data(), size.rows);
    return near(actual, expected, 16 * epsilon * std::sqrt(static_cast<float>(size.inputs)) + 1e-6F);
}

/// All values are small integers, and the largest of a row is 127: quantised or widened, each sum is exact in any
/// order.
bool linearInt8IsRight(const Products& products, Size size) {
    Numbers numbers;
    std::vector<std::int8_t> weights(static_cast<std::size_t>(size.outputs * size.inputs));
    std::ranges::generate(weights, [&] { return static_cast<std::int8_t>(numbers.integer(128)); });
    const std::vector<float> scales(static_cast<std::size_t>(size.outputs), 0.5F);
    const std::vector<float> bias(static_cast<std::size_t>(size.outputs), 3.0F);
    std::vector<float> src(static_cast<std::size_t>(size.rows * size.inputs));
    std::ranges::generate(src, [&] { return static_cast<float>(numbers.integer(127)); });
    for (std::ptrdiff_t i = 0; i < size.rows; ++i)
        src[static_cast<std::size_t>(i * size.inputs)] = i % 2 ? 127.0F : -127.0F;
    std::vector<float> actual(static_cast<std::size_t>(size.rows * size.outputs));
    std::vector<float> expected(actual.size());
    std::vector<std::int8_t> bytes(static_cast<std::size_t>(size.inputs));
    for (std::ptrdiff_t i = 0; i < size.rows; ++i) {
        const float scale = plain::quantize(src.data() + i * size.inputs, bytes.data(), size.inputs);
        plain::matVecInt8(weights.data(), scales.data(), bias.data(), bytes.data(), scale,
                          expected.data() + i * size.outputs, 0, size.outputs, size.inputs);
    }
    products.linearInt8(weights.data(), scales.data(), bias.data(), size.outputs, size.inputs, src.data(),
                        actual.data(), size.rows);
    return near(actual, expected, 0.0F);
}

bool orderedIsRight(int rows, int inputs) {
    constexpr int outputs = kernels::orderedOutputs;
    Numbers numbers;
    const LargeMemory<float> weights(static_cast<std::size_t>(inputs) * outputs);
    std::generate_n(weights.data(), inputs * outputs, [&] { return 0.5F * numbers.next(); });
    const LargeMemory<float> sums(static_cast<std::size_t>(rows) * outputs);
    const auto src = numbers.floats(rows * inputs);
    auto expected = numbers.floats(rows * outputs);
    std::ranges::copy(expected, sums.data());
    const auto stride = static_cast<std::size_t>(inputs);
    plain::multiplyOrdered(src.data(), stride, rows, weights.data(), inputs, expected.data());
    kernels::multiplyOrdered(src.data(), stride, rows, weights.data(), inputs, sums.data());
    return near({sums.data(), sums.data() + expected.size()}, expected,
                16 * epsilon * std::sqrt(static_cast<float>(inputs)));
}

using PlainHead = void (*)(const kernels::HeadRows& rows, float* dst);

void plainHead(const kernels::HeadRows& rows, float* dst) {
    std::vector<float> scores(static_cast<std::size_t>(rows.positions));
    for (std::size_t p = 0; p < scores.size(); ++p)
        plain::attendOne(rows.query + p * rows.stride, rows.key, rows.value, rows.stride, nullptr, scores.data(),
                         dst + p * rows.stride, rows.positions, rows.width);
}

bool attentionIsRight(const Products::Attention& attend, PlainHead plainly, int positions, float tolerance) {
    constexpr int heads = 2, headWidth = 64, stride = heads * headWidth;
    Numbers numbers;
    const auto q = numbers.floats(positions * stride, 0.5F);
    const auto k = numbers.floats(positions * stride, 0.5F);
    const auto v = numbers.floats(positions * stride);
    std::vector<float> expected(q.size());
    for (std::ptrdiff_t column = 0; column < stride; column += headWidth)
        plainly({q.data() + column, k.data() + column, v.data() + column, stride, positions, headWidth},
                expected.data() + column);
    std::vector<float> actual(q.size());
    attend(q.data(), k.data(), v.data(), actual.data(), positions, heads, headWidth);
    return near(actual, expected, tolerance);
}

bool oneRowProductsAreRight(int outputs, int inputs) {
    Numbers numbers;
    const auto weights = numbers.floats(outputs * inputs);
    const auto bias = numbers.floats(outputs);
    const auto x = numbers.floats(inputs);
    std::vector<float> actual(bias.size());
    std::vector<float> expected(bias.size());
    kernels::matVec(weights.data(), bias.data(), x.data(), actual.data(), 0, outputs, inputs);
    plain::matVec(weights.data(), bias.data(), x.data(), expected.data(), 0, outputs, inputs);
    if (!near(actual, expected, 16 * epsilon * std::sqrt(static_cast<float>(inputs))))
        return false;

    std::vector<std::int8_t> bytes(weights.size());
    std::vector<std::int8_t> quantized(x.size());
    std::vector<std::int8_t> plainlyQuantized(x.size());
    const float weightScale = kernels::quantize(weights.data(), bytes.data(), outputs * inputs);
    const std::vector<float> scales(bias.size(), weightScale);
    const float scale = kernels::quantize(x.data(), quantized.data(), inputs);
    if (scale != plain::quantize(x.data(), plainlyQuantized.data(), inputs) || quantized != plainlyQuantized)
        return false;
    // One, some and the most at once, exact to the bit; the others' products go to places of their own.
    std::vector<float> others(bias.size() * kernels::mostByteVectors);
    const kernels::ByteMatrix matrix{bytes.data(), scales.data(), bias.data(), inputs};
    plain::matVecsInt8(matrix, std::vector<kernels::ByteVector>{{quantized.data(), scale, expected.data()}}, 0,
                       outputs);
    for (const int count : {1, 2, 3, kernels::mostByteVectors}) {
        std::vector<kernels::ByteVector> vectors;
        for (int i = 0; i + 1 < count; ++i)
            vectors.push_back({bytes.data(), scale, others.data() + static_cast<std::ptrdiff_t>(i) * outputs});
        vectors.push_back({quantized.data(), scale, actual.data()});
        kernels::matVecsInt8(matrix, vectors, 0, outputs);
        if (actual != expected)
            return false;
    }
    return true;
}

bool rowKernelsAreRight(int count) {
    Numbers numbers;
    const auto values = numbers.floats(count, 4.0F);
    const auto gain = numbers.floats(count);
    const auto shift = numbers.floats(count);
    using Kernel = std::function<void(float*)>;
    const auto same = [&values](const Kernel& fast, const Kernel& slow, float tolerance) {
        auto actual = values;
        auto expected = values;
        fast(actual.data());
        slow(expected.data());
        return near(actual, expected, tolerance);
    };
    const float most = plain::largest(values.data(), count);
    return same([&](float* row) { kernels::softmax(row, count); }, [&](float* row) { plain::softmax(row, count); },
                4 * epsilon) &&
           same([&](float* row) { kernels::gelu(row, count); }, [&](float* row) { plain::gelu(row, count); }, 4e-6F) &&
           same([&](float* row) { kernels::add(row, gain.data(), count); },
                [&](float* row) { plain::add(row, gain.data(), count); }, 0.0F) &&
           same([&](float* row) { kernels::layerNorm(values.data(), gain.data(), shift.data(), row, count); },
                [&](float* row) { plain::layerNorm(values.data(), gain.data(), shift.data(), row, count); }, 1e-4F) &&
           kernels::largest(values.data(), count) == most &&
           std::fabs(kernels::logSumExp(values.data(), count, most) - plain::logSumExp(values.data(), count, most)) <=
               1e-5F;
}

bool attendOneIsRight(int positions, int headWidth) {
    Numbers numbers;
    const auto query = numbers.floats(headWidth);
    const auto keys = numbers.floats(positions * headWidth);
    const auto values = numbers.floats(positions * headWidth);
    const auto stride = static_cast<std::size_t>(headWidth);
    std::vector<float> scores(static_cast<std::size_t>(positions));
    std::vector<float> actual(stride);
    std::vector<float> expected(stride);
    plain::attendOne(query.data(), keys.data(), values.data(), stride, nullptr, scores.data(), expected.data(),
                     positions, headWidth);
    kernels::attendOne(query.data(), keys.data(), values.data(), stride, nullptr, scores.data(), actual.data(),
                       positions, headWidth);
    if (!near(actual, expected, 1e-5F))
        return false;

    std::vector<std::int8_t> bytes(kernels::ByteHead::numberCount(positions, headWidth));
    std::vector<std::int8_t> plainBytes(bytes.size());
    std::vector<float> scales(kernels::ByteHead::scaleCount(positions, headWidth));
    std::vector<float> plainScales(scales.size());
    const kernels::ByteHead head{bytes.data(), scales.data(), positions, headWidth};
    kernels::quantizeHead(keys.data(), values.data(), stride, head);
    plain::quantizeHead(keys.data(), values.data(), stride,
                        {plainBytes.data(), plainScales.data(), positions, headWidth});
    kernels::attendBytes(query.data(), head, scores.data(), actual.data());
    plain::attendBytes(query.data(), head, scores.data(), expected.data());
    return bytes == plainBytes && scales == plainScales && near(actual, expected, 1e-5F);
}

} // namespace

Products engineProducts() {
    const auto pool = std::make_shared<ThreadPool>(1);
    return {
        [pool](const float* weights, const float* bias, int outputs, int inputs, const float* src, float* dst,
               int rows) {
            MatMul::float32(weights, bias, outputs, inputs).run(src, dst, rows, Activation::gelu, true, *pool);
        },
        [pool](const std::int8_t* weights, const float* scales, const float* bias, int outputs, int inputs,
               const float* src, float* dst, int rows) {
            MatMul::int8(weights, scales, bias, outputs, inputs).run(src, dst, rows, Activation::none, false, *pool);
        },
        [pool](const float* q, const float* k, const float* v, float* dst, int positions, int heads, int headWidth) {
            whisper::attendAll(q, k, v, dst, positions, heads, headWidth, *pool);
        },
        [pool](const float* q, const float* k, const float* v, float* dst, int positions, int heads, int headWidth) {
            whisper::attendAllInt8(q, k, v, dst, positions, heads, headWidth, *pool);
        }};
}

std::string selfTest(const Products& products) {
    for (const Size size : sizes) {
        const std::string ofSize = " of " + std::to_string(size.rows) + " rows, " + std::to_string(size.outputs) +
                                   " outputs and " + std::to_string(size.inputs) + " inputs";
        if (!linearIsRight(products, size))
            return "the product of 32-bit floats" + ofSize;
        if (!linearInt8IsRight(products, size))
            return "the product of 8-bit values" + ofSize;
    }
    for (const int positions : {1, 97, 140}) { // more than a block of query rows, or of keys
        if (!attentionIsRight(products.attendAll, plainHead, positions, 1e-5F))
            return "attention over " + std::to_string(positions) + " positions";
        if (!attentionIsRight(products.attendAllInt8, plain::attendInt8, positions, 2e-3F))
            return "attention in 8 bits over " + std::to_string(positions) + " positions";
    }
    if (!orderedIsRight(13, 80))
        return "the product whose sums go input after input";
    if (!oneRowProductsAreRight(9, 384) || !oneRowProductsAreRight(7, 37))
        return "the product of one row";
    if (!rowKernelsAreRight(384) || !rowKernelsAreRight(37))
        return "a kernel along one row";
    if (!attendOneIsRight(40, 64) || !attendOneIsRight(7, 24))
        return "attention of one query";
    return "";
}

} // namespace fenlo::whisper
