// The product whose sums go input after input. This file is compiled once for each instruction set.

#include "WhisperEngine/runtime/InstructionSet.h"
#include "WhisperEngine/runtime/OrderedProduct.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WhisperEngine/runtime/OrderedKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "WhisperEngine/runtime/RowVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace fenlo::whisper::kernels::HWY_NAMESPACE {
namespace {

// As many sums as fit into the registers beside a row's number and the weights of an input: 24 of 32, or 12 of 16.
constexpr std::size_t rowsInRegisters = HWY_TARGET == HWY_AVX3 ? 8 : 6;
constexpr std::size_t vectorsInRegisters = HWY_TARGET == HWY_AVX3 ? 3 : 2;

void multiplyRows(const float* src, std::size_t stride, std::size_t rows, const float* weights, std::size_t inputs,
                  float* sums) {
    const std::size_t lanes = hn::Lanes(floats);
    const float* from[rowsInRegisters];
    float* to[rowsInRegisters];
    HWY_ALIGN float unused[orderedOutputs];
#pragma GCC unroll 8
    for (std::size_t r = 0; r < rowsInRegisters; ++r) { // rows that are not there count as the last one
        from[r] = src + HWY_MIN(r, rows - 1) * stride;
        to[r] = r < rows ? sums + r * orderedOutputs : unused;
    }
    for (std::size_t at = 0; at < orderedOutputs; at += vectorsInRegisters * lanes) {
        Floats found[rowsInRegisters][vectorsInRegisters];
#pragma GCC unroll 8
        for (std::size_t r = 0; r < rowsInRegisters; ++r)
#pragma GCC unroll 3
            for (std::size_t v = 0; v < vectorsInRegisters; ++v)
                found[r][v] = hn::Load(floats, to[r] + at + v * lanes);
        const float* weight = weights + at;
        for (std::size_t j = 0; j < inputs; ++j, weight += orderedOutputs) {
            Floats parts[vectorsInRegisters];
#pragma GCC unroll 3
            for (std::size_t v = 0; v < vectorsInRegisters; ++v)
                parts[v] = hn::Load(floats, weight + v * lanes);
#pragma GCC unroll 8
            for (std::size_t r = 0; r < rowsInRegisters; ++r) {
                const Floats number = hn::Set(floats, from[r][j]);
#pragma GCC unroll 3
                for (std::size_t v = 0; v < vectorsInRegisters; ++v)
                    found[r][v] = hn::MulAdd(number, parts[v], found[r][v]);
            }
        }
#pragma GCC unroll 8
        for (std::size_t r = 0; r < rowsInRegisters; ++r)
#pragma GCC unroll 3
            for (std::size_t v = 0; v < vectorsInRegisters; ++v)
                hn::Store(found[r][v], floats, to[r] + at + v * lanes);
    }
}

void multiplyInOrder(const float* src, std::size_t stride, std::size_t rows, const float* weights, std::size_t inputs,
                     float* sums) {
    for (std::size_t row = 0; row < rows; row += rowsInRegisters)
        multiplyRows(src + row * stride, stride, HWY_MIN(rowsInRegisters, rows - row), weights, inputs,
                     sums + row * orderedOutputs);
}

} // namespace
} // namespace fenlo::whisper::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace fenlo::whisper::kernels {

namespace {
HWY_EXPORT(multiplyInOrder);
} // namespace

void multiplyOrdered(const float* src, std::size_t stride, int rows, const float* weights, int inputs, float* sums) {
    allowedInstructionSet();
    HWY_DYNAMIC_DISPATCH(multiplyInOrder)
    (src, stride, static_cast<std::size_t>(rows), weights, static_cast<std::size_t>(inputs), sums);
}

void reference::multiplyOrdered(const float* src, std::size_t stride, int rows, const float* weights, int inputs,
                                float* sums) {
    for (int row = 0; row < rows; ++row, src += stride)
        for (int i = 0; i < orderedOutputs; ++i, ++sums) {
            double sum = *sums;
            for (int j = 0; j < inputs; ++j)
                sum += static_cast<double>(src[j]) * weights[j * orderedOutputs + i];
            *sums = static_cast<float>(sum);
        }
}

} // namespace fenlo::whisper::kernels
#endif
