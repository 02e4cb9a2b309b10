// The plain forms: what each kernel means, in the order a reader expects. Sums are taken in double precision, so that
// they are the truth that the fast forms are measured against.

#include "WhisperEngine/runtime/Kernels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace fenlo::whisper::kernels::reference {

void matVec(const float* weights, const float* bias, const float* x, float* dst, int firstRow, int lastRow,
            int columns) {
    for (int row = firstRow; row < lastRow; ++row) {
        const float* rowWeights = weights + static_cast<std::size_t>(row) * columns;
        double sum = bias ? bias[row] : 0.0F;
        for (int j = 0; j < columns; ++j)
            sum += static_cast<double>(rowWeights[j]) * x[j];
        dst[row] = static_cast<float>(sum);
    }
}

void matVecInt8(const std::int8_t* weights, const float* rowScales, const float* bias, const std::int8_t* x,
                float xScale, float* dst, int firstRow, int lastRow, int columns) {
    for (int row = firstRow; row < lastRow; ++row) {
        const std::int8_t* rowWeights = weights + static_cast<std::size_t>(row) * columns;
        std::int32_t sum = 0;
        for (int j = 0; j < columns; ++j)
            sum += rowWeights[j] * x[j];
        dst[row] = static_cast<float>(sum) * (rowScales[row] * xScale) + (bias ? bias[row] : 0.0F);
    }
}

void matVecsInt8(const ByteMatrix& matrix, std::span<const ByteVector> vectors, int firstRow, int lastRow) {
    for (const ByteVector& vector : vectors) {
        matVecInt8(matrix.weights, matrix.rowScales, matrix.bias, vector.values, vector.scale, vector.dst, firstRow,
                   lastRow, matrix.columns);
        for (int i = 0; vector.wide && i < vector.wide->count; ++i)
            for (int row = firstRow; row < lastRow; ++row) {
                const std::size_t at = static_cast<std::size_t>(row) * matrix.columns + vector.wide->channels[i];
                vector.dst[row] +=
                    static_cast<float>(matrix.weights[at]) * (matrix.rowScales[row] * vector.wide->values[i]);
            }
    }
}

float quantize(const float* src, std::int8_t* dst, int count) {
    float widest = 0.0F;
    for (int i = 0; i < count; ++i)
        widest = std::max(widest, std::fabs(src[i]));
    const float toInteger = widest > 0.0F ? 127.0F / widest : 0.0F;
    if (!std::isfinite(toInteger) || toInteger == 0.0F) { // zeros, or so small or large that no scale is a number
        std::fill_n(dst, count, std::int8_t{0});
        return 0.0F;
    }
    for (int i = 0; i < count; ++i)
        dst[i] = static_cast<std::int8_t>(std::nearbyint(src[i] * toInteger));
    return widest / 127.0F;
}

float quantize(const float* src, std::int8_t* dst, int count, WideChannels& wide) {
    std::vector<float> others(src, src + count);
    float scale = quantize(src, dst, count);
    for (wide.count = 0;;) {
        const auto found = static_cast<int>(std::count_if(dst, dst + count, isWide));
        if (found == 0 || found > std::min(wideAtOnce(count), WideChannels::most - wide.count))
            return scale;
        for (int i = 0; i < count; ++i)
            if (isWide(dst[i])) {
                wide.channels[wide.count] = i;
                wide.values[wide.count++] = src[i];
                others[i] = 0.0F;
            }
        scale = quantize(others.data(), dst, count);
    }
}

void layerNorm(const float* src, const float* gain, const float* shift, float* dst, int count) {
    double sum = 0.0;
    for (int i = 0; i < count; ++i)
        sum += src[i];
    const double mean = sum / count;
    double squares = 0.0;
    for (int i = 0; i < count; ++i)
        squares += (src[i] - mean) * (src[i] - mean);
    const double scale = 1.0 / std::sqrt(squares / count + 1e-5);
    for (int i = 0; i < count; ++i)
        dst[i] = static_cast<float>((src[i] - mean) * scale) * gain[i] + shift[i];
}

void softmax(float* values, int count) {
    if (count <= 0)
        return;
    const float maximum = largest(values, count);
    double sum = 0.0;
    for (int i = 0; i < count; ++i) {
        values[i] = std::exp(values[i] - maximum);
        sum += values[i];
    }
    for (int i = 0; i < count; ++i)
        values[i] = static_cast<float>(values[i] / sum);
}

void gelu(float* values, int count) {
    for (int i = 0; i < count; ++i) {
        const double x = values[i];
        values[i] = static_cast<float>(0.5 * x * std::erfc(-x * std::sqrt(0.5)));
    }
}

void add(float* dst, const float* src, int count) {
    for (int i = 0; i < count; ++i)
        dst[i] += src[i];
}

float largest(const float* values, int count) {
    float found = -std::numeric_limits<float>::infinity();
    for (int i = 0; i < count; ++i)
        found = values[i] > found ? values[i] : found;
    return found;
}

float logSumExp(const float* values, int count, float maximum) {
    if (std::isinf(maximum))
        return maximum;
    double sum = 0.0;
    for (int i = 0; i < count; ++i)
        sum += std::exp(values[i] - maximum);
    return static_cast<float>(maximum + std::log(sum));
}

void attendOne(const float* query, const float* keys, const float* values, std::size_t stride, const float* mask,
               float* scores, float* dst, int positions, int headWidth) {
    for (int p = 0; p < positions; ++p) {
        double sum = mask ? mask[p] : 0.0F;
        for (int i = 0; i < headWidth; ++i)
            sum += static_cast<double>(query[i]) * keys[p * stride + i];
        scores[p] = static_cast<float>(sum);
    }
    softmax(scores, positions);
    for (int i = 0; i < headWidth; ++i) {
        double sum = 0.0;
        for (int p = 0; p < positions; ++p)
            sum += static_cast<double>(scores[p]) * values[p * stride + i];
        dst[i] = static_cast<float>(sum);
    }
}

namespace {

float inverse(float value) {
    const float found = value > 0.0F ? 1.0F / value : 0.0F;
    return std::isfinite(found) ? found : 0.0F;
}

/// In single precision and in this order, as the fast form.
void measureColumn(const float* column, std::size_t stride, int positions, float& centre, float& inverseScale) {
    float sum = 0.0F;
    for (int p = 0; p < positions; ++p)
        sum += column[p * stride];
    centre = sum / static_cast<float>(positions);
    float distances = 0.0F;
    for (int p = 0; p < positions; ++p)
        distances += std::fabs(column[p * stride] - centre);
    inverseScale = inverse(distances / static_cast<float>(positions));
}

void quantizePart(const float* src, std::size_t stride, const ByteHead& head, const float* centres, float* scales,
                  std::int8_t* numbers, float* factors) {
    for (int p = 0; p < head.positions; ++p, src += stride, numbers += head.width) {
        const auto level = [&](int i) { return (src[i] - centres[i]) * scales[i]; };
        float widest = 0.0F;
        for (int i = 0; i < head.width; ++i)
            widest = std::max(widest, std::fabs(level(i)));
        const float toInteger = 127.0F * inverse(widest);
        factors[p] = widest / 127.0F;
        for (int i = 0; i < head.width; ++i)
            numbers[i] = static_cast<std::int8_t>(std::nearbyint(std::min(level(i) * toInteger, 127.0F)));
    }
    for (int i = 0; i < head.width; ++i)
        scales[i] = inverse(scales[i]);
}

} // namespace

void quantizeHead(const float* keys, const float* values, std::size_t stride, const ByteHead& head) {
    for (int i = 0; i < head.width; ++i) // the values' place for centres holds the keys' until they are used
        measureColumn(keys + i, stride, head.positions, head.valueCentres()[i], head.keyScales()[i]);
    quantizePart(keys, stride, head, head.valueCentres(), head.keyScales(), head.keys(), head.keyFactors());
    for (int i = 0; i < head.width; ++i)
        measureColumn(values + i, stride, head.positions, head.valueCentres()[i], head.valueScales()[i]);
    quantizePart(values, stride, head, head.valueCentres(), head.valueScales(), head.values(), head.valueFactors());
}

void attendBytes(const float* query, const ByteHead& head, float* scores, float* dst) {
    const auto number = [&head](const std::int8_t* numbers, int p, int i) {
        return static_cast<double>(numbers[static_cast<std::size_t>(p) * head.width + i]);
    };
    for (int p = 0; p < head.positions; ++p) {
        double sum = 0;
        for (int i = 0; i < head.width; ++i)
            sum += query[i] * number(head.keys(), p, i) * head.keyScales()[i];
        scores[p] = static_cast<float>(sum * head.keyFactors()[p]);
    }
    softmax(scores, head.positions);
    for (int i = 0; i < head.width; ++i) {
        double sum = 0;
        for (int p = 0; p < head.positions; ++p)
            sum += scores[p] * number(head.values(), p, i) * head.valueFactors()[p];
        dst[i] = static_cast<float>(sum * head.valueScales()[i] + head.valueCentres()[i]);
    }
}

} // namespace fenlo::whisper::kernels::reference
