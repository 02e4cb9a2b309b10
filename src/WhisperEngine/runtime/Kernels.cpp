#include "WhisperEngine/runtime/Kernels.h"

namespace fenlo::whisper::kernels {

void matVec(const float* weights, const float* bias, const float* x, float* dst, int firstRow, int lastRow,
            int columns) {
    reference::matVec(weights, bias, x, dst, firstRow, lastRow, columns);
}

void matVecInt8(const std::int8_t* weights, const float* rowScales, const float* bias, const std::int8_t* x,
                float xScale, float* dst, int firstRow, int lastRow, int columns) {
    reference::matVecInt8(weights, rowScales, bias, x, xScale, dst, firstRow, lastRow, columns);
}

float quantize(const float* src, std::int8_t* dst, int count) {
    return reference::quantize(src, dst, count);
}

void layerNorm(const float* src, const float* gain, const float* shift, float* dst, int count) {
    reference::layerNorm(src, gain, shift, dst, count);
}

void softmax(float* values, int count) {
    reference::softmax(values, count);
}
void gelu(float* values, int count) {
    reference::gelu(values, count);
}
void add(float* dst, const float* src, int count) {
    reference::add(dst, src, count);
}
int argMax(const float* values, int count) {
    return reference::argMax(values, count);
}
float logSumExp(const float* values, int count) {
    return reference::logSumExp(values, count);
}

void attendOne(const float* query, const float* keys, const float* values, std::size_t stride, const float* mask,
               float* scores, float* dst, int positions, int headWidth) {
    reference::attendOne(query, keys, values, stride, mask, scores, dst, positions, headWidth);
}

} // namespace fenlo::whisper::kernels
